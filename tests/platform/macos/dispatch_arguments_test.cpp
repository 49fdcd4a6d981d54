#include <gtest/gtest.h>

#include <chrono>

#include "blindfold/platform/macos/macos_platform.h"
#include "dispatch_stand_in.h"

namespace blindfold {
namespace {
using std::chrono::milliseconds;

TEST(DispatchArgumentsTest, TheDelayIsCountedFromNow) {
  DispatchTimedWorkQueue queue;
  queue.schedule(milliseconds(12'500), [] {})->cancel();
  EXPECT_EQ(DispatchStandIn::lastTime(),
            (DispatchStandIn::Time{.base = 0, .delta = 12'500'000'000}));
}

TEST(DispatchArgumentsTest, TheDelayIsNeitherNegativeNorBeyondTheLongest) {
  DispatchTimedWorkQueue queue;
  queue.schedule(milliseconds(-1), [] {})->cancel();
  EXPECT_EQ(DispatchStandIn::lastTime().delta, 0);
  queue.schedule(maximumDelay + milliseconds(1), [] {})->cancel();
  EXPECT_EQ(DispatchStandIn::lastTime().delta, maximumDelay.count());
}

TEST(DispatchArgumentsTest, TheQueueIsTheOneOfClassUtility) {
  DispatchTimedWorkQueue queue;
  queue.schedule(milliseconds(0), [] {});
  EXPECT_EQ(DispatchStandIn::lastQueue(), (DispatchStandIn::Queue{.identifier = 0x11, .flags = 0}));
}
}  // namespace
}  // namespace blindfold
