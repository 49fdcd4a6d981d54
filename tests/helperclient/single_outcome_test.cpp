#include "blindfold/helperclient/single_outcome.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tests/support/fake_helper_connection.h"
#include "tests/support/fake_main_loop.h"
#include "tests/support/fake_timed_work.h"

namespace blindfold {
namespace {
using namespace std::chrono_literals;

class SingleOutcomeTest : public testing::Test {
 protected:
  SingleOutcomeTest() { outcome_->setConnection(connection_); }

  /// Runs what the executor was given.
  void runExecutor() { executorQueue_.runUntilIdle(); }

  CallLog log_;
  FakeTimedWorkQueue timedWork_{log_};
  FakeMainLoop executorQueue_;
  std::shared_ptr<FakeHelperConnection> connection_ = std::make_shared<FakeHelperConnection>(log_);
  int resumptions_ = 0;
  std::shared_ptr<SingleOutcome> outcome_ = std::make_shared<SingleOutcome>(
      std::make_shared<const Executor>([this](std::function<void()> work) {
        log_.add("post the caller");
        executorQueue_.post(std::move(work));
      }),
      [this] { ++resumptions_; });
};

TEST_F(SingleOutcomeTest, TheCallerIsResumedWithTheFirstOutcome) {
  outcome_->complete(Bytes("first"));
  runExecutor();
  EXPECT_EQ(resumptions_, 1);
  EXPECT_EQ(std::get<Bytes>(outcome_->take()), "first");
}

TEST_F(SingleOutcomeTest, TheCallerIsResumedByTheExecutorOnly) {
  outcome_->complete(Bytes("first"));
  EXPECT_EQ(resumptions_, 0);
}

TEST_F(SingleOutcomeTest, LaterOutcomesAreDropped) {
  outcome_->complete(Bytes("first"));
  outcome_->complete(Bytes("second"));
  outcome_->complete(HelperClientError(HelperClientError::Case::timeout));
  runExecutor();
  EXPECT_EQ(resumptions_, 1);
  EXPECT_EQ(connection_->invalidations(), 1);
  EXPECT_EQ(std::get<Bytes>(outcome_->take()), "first");
}

TEST_F(SingleOutcomeTest, TheTimeLimitIsCancelledThenTheConnectionEndsThenTheCallerIsPosted) {
  outcome_->armTimeLimit(timedWork_, 5s);
  outcome_->complete(Bytes());
  EXPECT_EQ(log_.calls(),
            (std::vector<std::string>{"schedule the time limit in 5 s", "cancel the time limit",
                                      "invalidate", "post the caller"}));
}

TEST_F(SingleOutcomeTest, TheTimeLimitEndsTheRequestWithTimeout) {
  outcome_->armTimeLimit(timedWork_, 5s);
  timedWork_.elapse();
  runExecutor();
  EXPECT_EQ(std::get<HelperClientError>(outcome_->take()).errorCase(),
            HelperClientError::Case::timeout);
}

TEST_F(SingleOutcomeTest, ATimeLimitThatIsArmedTooLateIsCancelled) {
  outcome_->complete(Bytes());
  outcome_->armTimeLimit(timedWork_, 5s);
  timedWork_.elapse();
  EXPECT_EQ(log_.calls().back(), "cancel the time limit");
}

TEST_F(SingleOutcomeTest, AConnectionThatIsSetTooLateIsInvalidated) {
  outcome_->complete(Bytes());
  const auto late = std::make_shared<FakeHelperConnection>(log_);
  outcome_->setConnection(late);
  EXPECT_EQ(late->invalidations(), 1);
}

TEST_F(SingleOutcomeTest, AnEndedRequestIsNotKeptAliveByItsTimeLimit) {
  outcome_->armTimeLimit(timedWork_, 5s);
  const auto items = timedWork_.takeScheduled();
  outcome_->complete(Bytes());
  runExecutor();
  const std::weak_ptr<SingleOutcome> observer = outcome_;
  outcome_.reset();
  EXPECT_TRUE(observer.expired());
}

TEST_F(SingleOutcomeTest, AnAbandonedRequestIsEndedAsOneWithAnOutcomeIs) {
  outcome_->armTimeLimit(timedWork_, 5s);
  outcome_->abandon();
  EXPECT_EQ(log_.calls(), (std::vector<std::string>{"schedule the time limit in 5 s",
                                                    "cancel the time limit", "invalidate"}));
}

TEST_F(SingleOutcomeTest, WhatComesAfterAbandoningIsDropped) {
  outcome_->abandon();
  outcome_->complete(Bytes("late"));
  runExecutor();
  EXPECT_EQ(resumptions_, 0);
  EXPECT_EQ(connection_->invalidations(), 1);
}

TEST_F(SingleOutcomeTest, ACallerThatGivesUpBetweenTheOutcomeAndItsResumptionIsNotResumed) {
  outcome_->complete(Bytes("in time"));
  outcome_->abandon();
  runExecutor();
  EXPECT_EQ(resumptions_, 0);
  EXPECT_EQ(connection_->invalidations(), 1);
}
}  // namespace
}  // namespace blindfold
