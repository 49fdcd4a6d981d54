#include "blindfold/platform/macos/dispatch_timed_work.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <semaphore>
#include <thread>

#include "events.h"
#include "live_objects.h"

namespace blindfold {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

class DispatchTimedWorkTest : public testing::Test {
 protected:
  std::shared_ptr<WorkItem> item(const std::string& name) {
    return queue_.makeWorkItem([events = events_, name] { events->add(name); });
  }

  DispatchTimedWorkQueue queue_;
  std::shared_ptr<Events> events_ = std::make_shared<Events>();
};

TEST_F(DispatchTimedWorkTest, RunsWorkOnceItsTimeHasCome) {
  const auto start = Clock::now();
  queue_.schedule(item("ran"), 0.05);
  EXPECT_THAT(events_->waitFor(1), ElementsAre("ran"));
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(DispatchTimedWorkTest, RunsWorkOnAnotherThread) {
  std::thread::id worker;
  queue_.schedule(queue_.makeWorkItem([this, &worker] {
    worker = std::this_thread::get_id();
    events_->add("ran");
  }),
                  0);
  events_->waitFor(1);
  EXPECT_NE(worker, std::this_thread::get_id());
}

TEST_F(DispatchTimedWorkTest, RunsWorkInTheOrderOfItsTimes) {
  queue_.schedule(item("later"), 0.2);
  queue_.schedule(item("sooner"), 0.01);
  EXPECT_THAT(events_->waitFor(2), ElementsAre("sooner", "later"));
}

TEST_F(DispatchTimedWorkTest, RunsAnItemWhoseOwnerHasLetGoOfIt) {
  queue_.schedule(item("ran"), 0.01);
  EXPECT_THAT(events_->waitFor(1), ElementsAre("ran"));
}

TEST_F(DispatchTimedWorkTest, DoesNotRunWhatWasCancelled) {
  const auto cancelled = item("cancelled");
  queue_.schedule(cancelled, 0.01);
  cancelled->cancel();
  queue_.schedule(item("after"), 0.05);
  EXPECT_THAT(events_->waitFor(1), ElementsAre("after"));
}

TEST_F(DispatchTimedWorkTest, DoesNotRunWhatWasCancelledBeforeItWasScheduled) {
  const auto cancelled = item("cancelled");
  cancelled->cancel();
  queue_.schedule(cancelled, 0);
  queue_.schedule(item("after"), 0.05);
  EXPECT_THAT(events_->waitFor(1), ElementsAre("after"));
}

TEST_F(DispatchTimedWorkTest, LetsGoOfCancelledWorkAtOnce) {
  const auto cancelled = item("cancelled");
  queue_.schedule(cancelled, 3600);
  EXPECT_EQ(events_.use_count(), 2);
  cancelled->cancel();
  cancelled->cancel();
  EXPECT_EQ(events_.use_count(), 1);
}

TEST_F(DispatchTimedWorkTest, LetsGoOfWorkThatHasRun) {
  const auto done = item("ran");
  queue_.schedule(done, 0);
  events_->waitFor(1);
  EXPECT_TRUE(comesTrue([&] { return events_.use_count() == 1; }));
}

TEST_F(DispatchTimedWorkTest, CancelDoesNotWaitForWorkThatRuns) {
  std::binary_semaphore started{0};
  std::binary_semaphore mayEnd{0};
  const auto item = queue_.makeWorkItem([&, events = events_] {
    started.release();
    mayEnd.acquire();
    events_->add("ended");
  });
  queue_.schedule(item, 0);
  started.acquire();
  item->cancel();
  EXPECT_THAT(events_->soFar(), IsEmpty());
  mayEnd.release();
  EXPECT_THAT(events_->waitFor(1), ElementsAre("ended"));
}

TEST_F(DispatchTimedWorkTest, TakesADelayBelowZeroOrNotANumberForNone) {
  queue_.schedule(item("below zero"), -1);
  queue_.schedule(item("not a number"), std::numeric_limits<double>::quiet_NaN());
  EXPECT_THAT(events_->waitFor(2), testing::UnorderedElementsAre("below zero", "not a number"));
}

TEST_F(DispatchTimedWorkTest, NeverReachesADelayWithoutEnd) {
  const auto endless = item("endless");
  queue_.schedule(endless, std::numeric_limits<double>::infinity());
  queue_.schedule(item("after"), 0.05);
  EXPECT_THAT(events_->waitFor(1), ElementsAre("after"));
  endless->cancel();
}

TEST_F(DispatchTimedWorkTest, RunsOrDropsWorkWhoseTimeComesAsItIsCancelled) {
  for (int i = 0; i < 2000; ++i) {
    const auto contested = item("ran");
    queue_.schedule(contested, 1e-5);
    contested->cancel();
  }
  EXPECT_TRUE(comesTrue([&] { return events_.use_count() == 1; }));
}

}  // namespace
}  // namespace blindfold
