#include "blindfold/platform/linux/frame.h"

#include <algorithm>
#include <array>
#include <utility>

#include "blindfold/platform/linux/frame_fault.h"

namespace blindfold {
namespace {

constexpr std::string_view frameMark = "BLFD";
constexpr char frameVersion = 1;
constexpr std::string_view reservedBytes{"\0\0", 2};

// Where the header's fields begin.
constexpr std::size_t versionOffset = 4;
constexpr std::size_t kindOffset = 5;
constexpr std::size_t reservedOffset = 6;
constexpr std::size_t lengthOffset = 8;

// How a request names the kind of its argument. An absent text is a kind of its own, so that it is
// not mistaken for an empty one.
enum class WireArgument : std::uint8_t { none = 0, data = 1, text = 2, absent = 3 };

void appendLength(Bytes& bytes, std::size_t length) {
  for (const int shift : {24, 16, 8, 0}) {
    bytes += static_cast<char>(static_cast<unsigned char>(length >> shift));
  }
}

std::size_t readLength(std::string_view bytes) {
  std::size_t length = 0;
  for (const char byte : bytes) length = length << 8 | static_cast<unsigned char>(byte);
  return length;
}

std::optional<FrameKind> frameKind(char byte) {
  for (const auto kind : {FrameKind::request, FrameKind::reply, FrameKind::error}) {
    if (static_cast<char>(kind) == byte) return kind;
  }
  return std::nullopt;
}

WireArgument wireKind(const MessageArgument& argument) {
  if (std::holds_alternative<DataArgument>(argument)) return WireArgument::data;
  const auto* text = std::get_if<TextArgument>(&argument);
  if (text == nullptr) return WireArgument::none;
  return text->text ? WireArgument::text : WireArgument::absent;
}

std::string_view wireBytes(const MessageArgument& argument) {
  if (const auto* data = std::get_if<DataArgument>(&argument)) return data->bytes;
  const auto* text = std::get_if<TextArgument>(&argument);
  return text != nullptr && text->text ? std::string_view(*text->text) : std::string_view();
}

ArgumentKind argumentKind(WireArgument kind) {
  switch (kind) {
    case WireArgument::none:
      return ArgumentKind::none;
    case WireArgument::data:
      return ArgumentKind::data;
    case WireArgument::text:
    case WireArgument::absent:
      break;
  }
  return ArgumentKind::text;
}

MessageArgument decodeArgument(WireArgument kind, std::string_view bytes) {
  switch (kind) {
    case WireArgument::data:
      return DataArgument{Bytes(bytes)};
    case WireArgument::text:
      return TextArgument{std::string(bytes)};
    case WireArgument::none:
    case WireArgument::absent:
      break;
  }
  if (!bytes.empty()) throw platformError(FrameFault::bytesWithoutArgument);
  if (kind == WireArgument::none) return NoArgument{};
  return TextArgument{};
}

}  // namespace

Bytes encodeFrameHeader(FrameKind kind, std::size_t payloadSize) {
  if (payloadSize > maximumFramePayload) throw platformError(FrameFault::payloadTooLarge);
  Bytes bytes;
  bytes += frameMark;
  bytes += frameVersion;
  bytes += static_cast<char>(kind);
  bytes += reservedBytes;
  appendLength(bytes, payloadSize);
  return bytes;
}

Bytes encodeFrame(const Frame& frame) {
  Bytes bytes = encodeFrameHeader(frame.kind, frame.payload.size());
  bytes.reserve(frameHeaderSize + frame.payload.size());
  return bytes += frame.payload;
}

Bytes encodeMessage(const HelperMessage& message) {
  const std::string_view selector = describe(message.method).selector;
  Bytes payload;
  payload += static_cast<char>(selector.size());
  payload += selector;
  payload += static_cast<char>(wireKind(message.argument));
  payload += wireBytes(message.argument);
  return payload;
}

HelperMessage decodeMessage(std::string_view payload) {
  if (payload.empty()) throw platformError(FrameFault::selectorCutShort);
  const std::size_t selectorSize = static_cast<unsigned char>(payload.front());
  payload.remove_prefix(1);
  if (payload.size() < selectorSize) throw platformError(FrameFault::selectorCutShort);
  const auto method = helperMethodWithSelector(payload.substr(0, selectorSize));
  if (!method) throw platformError(FrameFault::unknownSelector);
  payload.remove_prefix(selectorSize);
  if (payload.empty()) throw platformError(FrameFault::argumentKindMissing);
  const auto kind = static_cast<WireArgument>(payload.front());
  if (kind > WireArgument::absent) throw platformError(FrameFault::unknownArgumentKind);
  if (argumentKind(kind) != describe(*method).argument) {
    throw platformError(FrameFault::argumentDoesNotFit);
  }
  payload.remove_prefix(1);
  return {*method, decodeArgument(kind, payload)};
}

void FrameReader::append(std::string_view bytes) {
  // No byte is moved to the front more often than it is overtaken by one that leaves.
  if (taken_ >= arrived_.size() - taken_) {
    arrived_.erase(0, taken_);
    taken_ = 0;
  }
  arrived_ += bytes;
}

std::optional<Frame> FrameReader::next() {
  if (!header_ && arrived_.size() - taken_ >= frameHeaderSize) {
    header_ = decodeHeader(std::string_view(arrived_).substr(taken_, frameHeaderSize));
    taken_ += frameHeaderSize;
  }
  if (!header_) return std::nullopt;
  const std::size_t part = std::min(header_->length - payload_.size(), arrived_.size() - taken_);
  payload_.append(arrived_, taken_, part);
  taken_ += part;
  if (payload_.size() < header_->length) return std::nullopt;
  Frame frame{header_->kind, std::exchange(payload_, {})};
  header_.reset();
  return frame;
}

FrameReader::Header FrameReader::decodeHeader(std::string_view bytes) {
  if (!bytes.starts_with(frameMark)) throw platformError(FrameFault::wrongMark);
  if (bytes[versionOffset] != frameVersion) throw platformError(FrameFault::unsupportedVersion);
  const auto kind = frameKind(bytes[kindOffset]);
  if (!kind) throw platformError(FrameFault::unknownKind);
  if (bytes.substr(reservedOffset, reservedBytes.size()) != reservedBytes) {
    throw platformError(FrameFault::reservedNotZero);
  }
  const std::size_t length = readLength(bytes.substr(lengthOffset));
  if (length > maximumFramePayload) throw platformError(FrameFault::payloadTooLarge);
  return {*kind, length};
}

}  // namespace blindfold
