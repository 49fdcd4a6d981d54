#include "blindfold/helperclient/single_outcome.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "tests/support/fake_helper_connection.h"
#include "tests/support/fake_timed_work.h"

namespace blindfold {
namespace {

class SingleOutcomeTest : public testing::Test {
 protected:
  CallLog log_;
  FakeTimedWorkQueue timedWork_{log_};
  std::shared_ptr<FakeHelperConnection> connection_ = std::make_shared<FakeHelperConnection>(log_);
  std::vector<RequestOutcome> told_;
  std::shared_ptr<SingleOutcome> outcome_ =
      std::make_shared<SingleOutcome>(connection_, [this](RequestOutcome outcome) {
        log_.add("tell the caller");
        told_.push_back(std::move(outcome));
      });
};

TEST_F(SingleOutcomeTest, TheFirstOutcomeIsTold) {
  outcome_->complete(Bytes("first"));
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_EQ(std::get<Bytes>(told_[0]), "first");
}

TEST_F(SingleOutcomeTest, LaterOutcomesAreDropped) {
  outcome_->complete(Bytes("first"));
  outcome_->complete(Bytes("second"));
  outcome_->complete(HelperClientError(HelperClientError::Case::timeout));
  EXPECT_EQ(told_.size(), 1U);
  EXPECT_EQ(connection_->invalidations(), 1);
}

TEST_F(SingleOutcomeTest, TheTimeLimitIsCancelledThenTheConnectionEndsThenTheCallerIsTold) {
  SingleOutcome::armTimeLimit(outcome_, timedWork_, std::chrono::seconds(5));
  outcome_->complete(Bytes());
  EXPECT_EQ(log_.calls(),
            (std::vector<std::string>{"schedule the time limit in 5 s", "cancel the time limit",
                                      "invalidate", "tell the caller"}));
}

TEST_F(SingleOutcomeTest, TheTimeLimitEndsTheRequestWithTimeout) {
  SingleOutcome::armTimeLimit(outcome_, timedWork_, std::chrono::seconds(5));
  timedWork_.elapse();
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_EQ(std::get<HelperClientError>(told_[0]).errorCase(), HelperClientError::Case::timeout);
}

TEST_F(SingleOutcomeTest, ATimeLimitIsCancelledAtOnceWhenThereIsAnOutcome) {
  outcome_->complete(Bytes());
  SingleOutcome::armTimeLimit(outcome_, timedWork_, std::chrono::seconds(5));
  EXPECT_EQ(log_.calls().back(), "cancel the time limit");
  const std::weak_ptr<SingleOutcome> observer = outcome_;
  outcome_.reset();
  EXPECT_TRUE(observer.expired());
}

TEST_F(SingleOutcomeTest, AnEndedRequestIsNotKeptAliveByItsTimeLimit) {
  SingleOutcome::armTimeLimit(outcome_, timedWork_, std::chrono::seconds(5));
  const auto items = timedWork_.takeScheduled();
  outcome_->complete(Bytes());
  const std::weak_ptr<SingleOutcome> observer = outcome_;
  outcome_.reset();
  EXPECT_TRUE(observer.expired());
}

}  // namespace
}  // namespace blindfold
