#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/linux/linux_helper_connection.h"
#include "tests/platform/linux/test_helper.h"

namespace {
/// The sizes of this thread's allocations from `watchedSize` on.
thread_local std::size_t watchedSize = 0;
thread_local int watchedCount = 0;
}  // namespace

// NOLINTBEGIN(cppcoreguidelines-owning-memory, misc-new-delete-overloads)
void* operator new(std::size_t size) {
  if (watchedSize != 0 && size >= watchedSize) ++watchedCount;
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
// NOLINTEND(cppcoreguidelines-owning-memory, misc-new-delete-overloads)

namespace blindfold {
namespace {
using namespace std::string_literals;

/// How many allocations of at least `size` bytes this thread makes in `body`.
template <class Body>
int countAllocations(std::size_t size, Body body) {
  watchedCount = 0;
  watchedSize = size;
  body();
  watchedSize = 0;
  return watchedCount;
}

TEST(AllocationTest, TheCountSeesALargeText) {
  EXPECT_EQ(countAllocations(1000, [] { EXPECT_EQ(std::string(1000, 'x').size(), 1000U); }), 1);
}

TEST(FrameReaderAllocationTest, AHostileLengthCostsNoMemory) {
  const Bytes stream = "BLFD\x01\x02\0\0\x04\0\0\0only this much comes"s;
  EXPECT_EQ(countAllocations(1000,
                             [&] {
                               FrameReader reader;
                               reader.append(stream);
                               EXPECT_EQ(reader.next(), std::nullopt);
                             }),
            0);
}

TEST(FrameReaderAllocationTest, APayloadTakesLittleMoreMemoryThanHasArrived) {
  constexpr std::size_t piece = 65'536;
  FrameReader reader;
  reader.append("BLFD\x01\x02\0\0\x04\0\0\0"s);
  for (std::size_t arrived = piece; arrived <= 64 * piece; arrived += piece) {
    EXPECT_EQ(countAllocations(2 * arrived + piece,
                               [&] {
                                 reader.append(Bytes(piece, 'x'));
                                 EXPECT_EQ(reader.next(), std::nullopt);
                               }),
              0);
  }
}

TEST(FrameReaderAllocationTest, APayloadHasItsPlaceOnceAnEighthOfItHasCome) {
  constexpr std::size_t length = 0x04'00'00'00;
  const Bytes eighth(length / 8, 'x');
  FrameReader reader;
  reader.append("BLFD\x01\x02\0\0\x04\0\0\0"s);
  EXPECT_EQ(reader.next(), std::nullopt);
  reader.append(eighth);
  const auto countForTheNext = [&] {
    return countAllocations(eighth.size(), [&] { reader.append(eighth); });
  };
  EXPECT_EQ(countForTheNext(), 1);
  for (int part = 3; part <= 8; ++part) EXPECT_EQ(countForTheNext(), 0);
  EXPECT_TRUE(reader.next());
}

TEST(LinuxHelperConnectionAllocationTest, ARequestIsCopiedOnce) {
  const TestHelper helper(answering({FrameKind::reply, "well"}));
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  const auto connection = provider.makePrivilegedConnection(helper.name());
  connection->resume();
  const auto proxy = connection->remoteObjectProxy([](const PlatformError&) {});
  const Bytes argument(8'000'000, 'x');
  HelperMessage message{HelperMethod::hold, DataArgument{argument}};
  Bytes reply;
  EXPECT_EQ(countAllocations(argument.size(),
                             [&] {
                               proxy->send(std::move(message),
                                           [&](Bytes bytes) { reply = std::move(bytes); });
                               while (reply.empty()) loop.runRound();
                             }),
            1);
}

TEST(LinuxHelperConnectionAllocationTest, AReplyIsHandedOverWithoutACopy) {
  const Bytes payload(8'000'000, 'x');
  const TestHelper helper(answering({FrameKind::reply, payload}));
  EventLoop loop;
  LinuxHelperConnectionProvider provider(loop);
  const auto connection = provider.makePrivilegedConnection(helper.name());
  connection->resume();
  Bytes reply;
  connection->remoteObjectProxy([](const PlatformError&) {})
      ->send({HelperMethod::currentState, NoArgument{}},
             [&](Bytes bytes) { reply = std::move(bytes); });
  EXPECT_EQ(countAllocations(payload.size(),
                             [&] {
                               while (reply.empty()) loop.runRound();
                             }),
            1);
  EXPECT_EQ(reply, payload);
}
}  // namespace
}  // namespace blindfold
