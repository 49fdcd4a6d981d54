#include "blindfold/platform/linux/frame.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace blindfold {
namespace {
using namespace std::string_literals;

/// A reply frame whose payload is "hi", byte by byte.
const Bytes hiFrame = "BLFD\x01\x02\0\0\0\0\0\x02hi"s;

std::string textOf(FrameFault fault) {
  return platformError(fault).what();
}

/// The text of the error that `operation` throws, or a text that says that it threw none.
template <class Operation>
std::string errorOf(Operation operation) {
  try {
    operation();
  } catch (const PlatformError& error) {
    return error.what();
  }
  return "no error";
}

std::string readingError(const Bytes& stream) {
  return errorOf([&] {
    FrameReader reader;
    reader.append(stream);
    while (reader.next()) {
    }
  });
}

std::string decodingError(const Bytes& payload) {
  return errorOf([&] { decodeMessage(payload); });
}

Bytes withByte(Bytes bytes, std::size_t index, char byte) {
  bytes.at(index) = byte;
  return bytes;
}

TEST(FrameFaultTest, EveryFaultStandsAtItsOwnPlaceInTheTable) {
  std::size_t index = 0;
  for (const auto& row : frameFaults) EXPECT_EQ(static_cast<std::size_t>(row.value), index++);
}

TEST(FrameFaultTest, EveryFaultHasALineOfItsOwn) {
  std::set<std::string_view> texts;
  for (const auto& row : frameFaults) {
    EXPECT_FALSE(row.text.empty());
    EXPECT_EQ(row.text.find('\n'), std::string_view::npos);
    EXPECT_TRUE(texts.insert(row.text).second) << row.text;
  }
}

TEST(FrameFaultTest, TheDocumentOfTheTransportListsEveryLine) {
  std::ifstream file(TRANSPORT_DOCUMENT);
  const std::string document(std::istreambuf_iterator<char>(file), {});
  for (const auto& row : frameFaults) {
    EXPECT_NE(document.find("| " + std::string(row.text) + " |"), std::string::npos) << row.text;
  }
}

TEST(FrameTest, AFrameIsItsHeaderAndItsPayload) {
  EXPECT_EQ(encodeFrame({FrameKind::reply, "hi"}), hiFrame);
}

TEST(FrameTest, TheLengthIsWrittenMostSignificantByteFirst) {
  const Bytes frame = encodeFrame({FrameKind::request, Bytes(0x010203, 'x')});
  EXPECT_EQ(frame.substr(8, 4), "\0\x01\x02\x03"s);
}

TEST(FrameTest, AFrameTakesTheLargestPayload) {
  const Bytes frame = encodeFrame({FrameKind::reply, Bytes(maximumFramePayload, 'x')});
  FrameReader reader;
  reader.append(frame);
  EXPECT_EQ(reader.next().value_or(Frame{}).payload.size(), maximumFramePayload);
}

TEST(FrameTest, AFrameRefusesALargerPayload) {
  EXPECT_EQ(errorOf([] { encodeFrame({FrameKind::reply, Bytes(maximumFramePayload + 1, 'x')}); }),
            textOf(FrameFault::payloadTooLarge));
}

TEST(FrameReaderTest, AFrameOfEachKindIsReadBack) {
  for (const auto kind : {FrameKind::request, FrameKind::reply, FrameKind::error}) {
    const Frame frame{kind, "pay\0load"s};
    FrameReader reader;
    reader.append(encodeFrame(frame));
    EXPECT_EQ(reader.next(), frame);
    EXPECT_EQ(reader.next(), std::nullopt);
  }
}

TEST(FrameReaderTest, AnEmptyPayloadIsAFrame) {
  FrameReader reader;
  reader.append(encodeFrame({FrameKind::reply, ""}));
  EXPECT_EQ(reader.next(), (Frame{FrameKind::reply, ""}));
}

TEST(FrameReaderTest, NoBytesAreNoFrame) {
  FrameReader reader;
  reader.append("");
  EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(FrameReaderTest, AFrameThatArrivesByteByByteIsReadWithItsLastByte) {
  FrameReader reader;
  for (std::size_t i = 0; i < hiFrame.size(); ++i) {
    ASSERT_EQ(reader.next(), std::nullopt) << i;
    reader.append(hiFrame.substr(i, 1));
  }
  EXPECT_EQ(reader.next(), (Frame{FrameKind::reply, "hi"}));
}

TEST(FrameReaderTest, FramesThatArriveTogetherAreReadInTheirOrder) {
  FrameReader reader;
  reader.append(hiFrame + encodeFrame({FrameKind::error, "oh"}) + hiFrame.substr(0, 13));
  EXPECT_EQ(reader.next(), (Frame{FrameKind::reply, "hi"}));
  EXPECT_EQ(reader.next(), (Frame{FrameKind::error, "oh"}));
  EXPECT_EQ(reader.next(), std::nullopt);
  reader.append("i");
  EXPECT_EQ(reader.next(), (Frame{FrameKind::reply, "hi"}));
}

TEST(FrameReaderTest, FramesAreReadThoughTheirBordersNeverMeetThoseOfTheArrivals) {
  constexpr int count = 10'000;
  FrameReader reader;
  int read = 0;
  reader.append(hiFrame.substr(0, 5));
  for (int i = 0; i < count; ++i) {
    reader.append(hiFrame.substr(5) + hiFrame.substr(0, 5));
    while (reader.next()) ++read;
  }
  EXPECT_EQ(read, count);
}

TEST(FrameReaderTest, AMillionSmallFramesAtOnceTakeNoTimeToSpeakOf) {
  constexpr int count = 1'000'000;
  Bytes stream;
  for (int i = 0; i < count; ++i) stream += hiFrame;
  const auto start = std::chrono::steady_clock::now();
  FrameReader reader;
  reader.append(stream);
  int read = 0;
  while (reader.next()) ++read;
  EXPECT_EQ(read, count);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(FrameReaderTest, AMillionSmallFramesWithAnArrivalAfterEachTakeNoTimeToSpeakOf) {
  constexpr int count = 1'000'000;
  Bytes stream;
  for (int i = 0; i < count; ++i) stream += hiFrame;
  const auto start = std::chrono::steady_clock::now();
  FrameReader reader;
  reader.append(stream);
  for (int i = 0; i < count; ++i) {
    ASSERT_TRUE(reader.next());
    reader.append("B");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(FrameReaderTest, AWrongMarkIsRefused) {
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(readingError(withByte(hiFrame, i, '?')), textOf(FrameFault::wrongMark)) << i;
  }
}

TEST(FrameReaderTest, AnotherVersionIsRefused) {
  for (const char version : {'\0', '\x02', '\xff'}) {
    EXPECT_EQ(readingError(withByte(hiFrame, 4, version)), textOf(FrameFault::unsupportedVersion));
  }
}

TEST(FrameReaderTest, AnUnknownKindIsRefused) {
  for (const char kind : {'\0', '\x04', '\xff'}) {
    EXPECT_EQ(readingError(withByte(hiFrame, 5, kind)), textOf(FrameFault::unknownKind));
  }
}

TEST(FrameReaderTest, AReservedByteThatIsNotZeroIsRefused) {
  for (const std::size_t index : {6U, 7U}) {
    EXPECT_EQ(readingError(withByte(hiFrame, index, '\x01')), textOf(FrameFault::reservedNotZero));
  }
}

TEST(FrameReaderTest, ALengthAboveTheLimitIsRefused) {
  EXPECT_EQ(readingError("BLFD\x01\x02\0\0\x04\0\0\x01"s), textOf(FrameFault::payloadTooLarge));
  EXPECT_EQ(readingError("BLFD\x01\x02\0\0\xff\xff\xff\xff"s), textOf(FrameFault::payloadTooLarge));
}

TEST(FrameReaderTest, TheLargestLengthIsNotRefused) {
  EXPECT_EQ(readingError("BLFD\x01\x02\0\0\x04\0\0\0"s), "no error");
}

TEST(FrameReaderTest, AHeaderIsJudgedOnlyWhenItIsComplete) {
  const Bytes garbage = "GET / HTTP/1.1"s;
  EXPECT_EQ(readingError(garbage.substr(0, frameHeaderSize - 1)), "no error");
  EXPECT_EQ(readingError(garbage.substr(0, frameHeaderSize)), textOf(FrameFault::wrongMark));
}

TEST(FrameReaderTest, AFrameBeforeTheMalformedOneIsReadFirst) {
  FrameReader reader;
  reader.append(hiFrame + withByte(hiFrame, 0, '?'));
  EXPECT_EQ(reader.next(), (Frame{FrameKind::reply, "hi"}));
  EXPECT_THROW(reader.next(), PlatformError);
}

/// Every message that can be sent, with arguments that test the borders between the parts.
std::vector<HelperMessage> everyMessage() {
  std::vector<HelperMessage> messages;
  for (const auto& row : helperProtocol) {
    switch (row.argument) {
      case ArgumentKind::none:
        messages.push_back({row.method, NoArgument{}});
        break;
      case ArgumentKind::data:
        messages.push_back({row.method, DataArgument{""}});
        messages.push_back({row.method, DataArgument{"{\0\xff}"s}});
        break;
      case ArgumentKind::text:
        messages.push_back({row.method, TextArgument{}});
        messages.push_back({row.method, TextArgument{""}});
        messages.push_back({row.method, TextArgument{"Mot\0clé"s}});
        break;
    }
  }
  return messages;
}

TEST(MessageTest, ARequestIsItsSelectorItsArgumentsKindAndBytes) {
  EXPECT_EQ(encodeMessage({HelperMethod::renew, TextArgument{"A1"}}),
            "\x10renew:withReply:\x02"
            "A1"s);
  EXPECT_EQ(encodeMessage({HelperMethod::hold, DataArgument{"{}"}}), "\x0fhold:withReply:\x01{}"s);
  EXPECT_EQ(encodeMessage({HelperMethod::release, TextArgument{}}), "\x12release:withReply:\x03"s);
  EXPECT_EQ(encodeMessage({HelperMethod::muteMic, NoArgument{}}), "\x08muteMic:\0"s);
}

TEST(MessageTest, EveryMessageIsReadBack) {
  for (const auto& message : everyMessage()) {
    EXPECT_EQ(decodeMessage(encodeMessage(message)), message) << describe(message.method).selector;
  }
}

TEST(MessageTest, ARequestThatEndsWithinItsSelectorIsRefused) {
  const Bytes payload = encodeMessage({HelperMethod::muteMic, NoArgument{}});
  const std::size_t selectorEnd = payload.size() - 1;
  for (std::size_t size = 0; size < selectorEnd; ++size) {
    EXPECT_EQ(decodingError(payload.substr(0, size)), textOf(FrameFault::selectorCutShort)) << size;
  }
}

TEST(MessageTest, ARequestThatEndsWithItsSelectorIsRefused) {
  EXPECT_EQ(decodingError("\x08muteMic:"s), textOf(FrameFault::argumentKindMissing));
}

TEST(MessageTest, AnUnknownSelectorIsRefused) {
  EXPECT_EQ(decodingError("\x07muteMic\0"s), textOf(FrameFault::unknownSelector));
  EXPECT_EQ(decodingError("\0\0"s), textOf(FrameFault::unknownSelector));
}

TEST(MessageTest, AnArgumentThatItsMethodDoesNotTakeStopsADebugBuild) {
  EXPECT_DEBUG_DEATH(encodeMessage({HelperMethod::hold, NoArgument{}}), "method.argument");
  EXPECT_DEBUG_DEATH(encodeMessage({HelperMethod::muteMic, TextArgument{"A1"}}), "method.argument");
}

TEST(MessageTest, AnUnknownArgumentKindIsRefused) {
  EXPECT_EQ(decodingError("\x08muteMic:\x04"s), textOf(FrameFault::unknownArgumentKind));
  EXPECT_EQ(decodingError("\x08muteMic:\xff"s), textOf(FrameFault::unknownArgumentKind));
}

TEST(MessageTest, AnArgumentThatIsNotItsMethodsIsRefused) {
  for (const auto& message : everyMessage()) {
    const std::string_view selector = describe(message.method).selector;
    const Bytes head = static_cast<char>(selector.size()) + Bytes(selector);
    for (const char kind : {'\0', '\x01', '\x02', '\x03'}) {
      const bool fits = (kind == 0 && describe(message.method).argument == ArgumentKind::none) ||
                        (kind == 1 && describe(message.method).argument == ArgumentKind::data) ||
                        (kind >= 2 && describe(message.method).argument == ArgumentKind::text);
      EXPECT_EQ(decodingError(head + kind),
                fits ? "no error" : textOf(FrameFault::argumentDoesNotFit))
          << selector << static_cast<int>(kind);
    }
  }
}

TEST(MessageTest, BytesWithoutAnArgumentToHoldThemAreRefused) {
  EXPECT_EQ(decodingError("\x08muteMic:\0!"s), textOf(FrameFault::bytesWithoutArgument));
  EXPECT_EQ(decodingError("\x10renew:withReply:\x03!"s), textOf(FrameFault::bytesWithoutArgument));
}
}  // namespace
}  // namespace blindfold
