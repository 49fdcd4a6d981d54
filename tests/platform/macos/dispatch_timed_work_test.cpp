#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <semaphore>
#include <thread>

#include "blindfold/platform/macos/macos_platform.h"
#include "events.h"

namespace blindfold {
namespace {
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

class DispatchTimedWorkTest : public testing::Test {
 protected:
  /// Schedules work that reports `name` to `events_`.
  std::shared_ptr<WorkItem> schedule(const std::string& name, std::chrono::nanoseconds delay) {
    return queue_.schedule(delay, [events = events_, name] { events->add(name); });
  }

  DispatchTimedWorkQueue queue_;
  std::shared_ptr<Events> events_ = std::make_shared<Events>();
};

TEST_F(DispatchTimedWorkTest, RunsWorkOnceItsTimeHasCome) {
  const auto start = Clock::now();
  schedule("ran", milliseconds(50));
  EXPECT_THAT(events_->waitFor(1), ElementsAre("ran"));
  EXPECT_GE(Clock::now() - start, milliseconds(50));
}

TEST_F(DispatchTimedWorkTest, RunsWorkOnAnotherThread) {
  std::thread::id worker;
  queue_.schedule(milliseconds(0), [this, &worker] {
    worker = std::this_thread::get_id();
    events_->add("ran");
  });
  events_->waitFor(1);
  EXPECT_NE(worker, std::this_thread::get_id());
}

TEST_F(DispatchTimedWorkTest, RunsWorkInTheOrderOfItsTimes) {
  schedule("later", milliseconds(200));
  schedule("sooner", milliseconds(10));
  EXPECT_THAT(events_->waitFor(2), ElementsAre("sooner", "later"));
}

TEST_F(DispatchTimedWorkTest, RunsAnItemWhoseOwnerHasLetGoOfIt) {
  schedule("ran", milliseconds(10));
  EXPECT_THAT(events_->waitFor(1), ElementsAre("ran"));
}

TEST_F(DispatchTimedWorkTest, DoesNotRunWhatWasCancelled) {
  const auto cancelled = schedule("cancelled", milliseconds(10));
  cancelled->cancel();
  schedule("after", milliseconds(50));
  EXPECT_THAT(events_->waitFor(1), ElementsAre("after"));
}

TEST_F(DispatchTimedWorkTest, LetsGoOfCancelledWorkAtOnce) {
  const auto cancelled = schedule("cancelled", std::chrono::hours(1));
  EXPECT_EQ(events_.use_count(), 2);
  cancelled->cancel();
  cancelled->cancel();
  EXPECT_EQ(events_.use_count(), 1);
}

TEST_F(DispatchTimedWorkTest, LetsGoOfWorkThatHasRun) {
  const auto done = schedule("ran", milliseconds(0));
  events_->waitFor(1);
  EXPECT_TRUE(comesTrue([&] { return events_.use_count() == 1; }));
}

TEST_F(DispatchTimedWorkTest, CancelDoesNotWaitForWorkThatRuns) {
  std::binary_semaphore started{0};
  std::binary_semaphore mayEnd{0};
  const auto item = queue_.schedule(milliseconds(0), [&, events = events_] {
    started.release();
    mayEnd.acquire();
    events_->add("ended");
  });
  started.acquire();
  item->cancel();
  EXPECT_THAT(events_->soFar(), IsEmpty());
  mayEnd.release();
  EXPECT_THAT(events_->waitFor(1), ElementsAre("ended"));
}

TEST_F(DispatchTimedWorkTest, TakesANegativeDelayForNone) {
  schedule("negative", milliseconds(-1));
  schedule("lowest", std::chrono::nanoseconds::min());
  EXPECT_THAT(events_->waitFor(2), testing::UnorderedElementsAre("negative", "lowest"));
}

TEST_F(DispatchTimedWorkTest, NeverReachesTheLongestDelay) {
  const auto endless = schedule("endless", std::chrono::nanoseconds::max());
  schedule("after", milliseconds(50));
  EXPECT_THAT(events_->waitFor(1), ElementsAre("after"));
  endless->cancel();
}

TEST_F(DispatchTimedWorkTest, RunsOrDropsWorkWhoseTimeComesAsItIsCancelled) {
  for (int i = 0; i < 2000; ++i) {
    const auto contested = schedule("ran", std::chrono::microseconds(10));
    contested->cancel();
  }
  EXPECT_TRUE(comesTrue([&] { return events_.use_count() == 1; }));
}
}  // namespace
}  // namespace blindfold
