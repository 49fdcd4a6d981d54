#include "blindfold/helperclient/single_outcome.h"

#include <utility>

namespace blindfold {

SingleOutcome::SingleOutcome(std::shared_ptr<const Executor> executor,
                             std::function<void()> resumeCaller)
    : executor_(std::move(executor)), resumeCaller_(std::move(resumeCaller)) {}

void SingleOutcome::setConnection(std::shared_ptr<HelperConnection> connection) {
  const std::lock_guard guard(lock_);
  connection_ = std::move(connection);
  if (finished_) connection_->invalidate();
}

void SingleOutcome::armTimeLimit(TimedWorkQueue& queue, std::chrono::nanoseconds delay) {
  const auto item = queue.schedule(delay, [self = shared_from_this()] {
    self->complete(HelperClientError(HelperClientError::Case::timeout));
  });
  const std::lock_guard guard(lock_);
  if (finished_) {
    item->cancel();
  } else {
    timeLimit_ = item;
  }
}

void SingleOutcome::complete(RequestOutcome outcome) {
  {
    const std::lock_guard guard(lock_);
    if (finished_) return;
    outcome_ = std::move(outcome);
    finish();
  }
  (*executor_)([self = shared_from_this()] { self->resume(); });
}

void SingleOutcome::abandon() noexcept {
  std::function<void()> dropped;
  const std::lock_guard guard(lock_);
  std::swap(dropped, resumeCaller_);
  if (!finished_) finish();
}

RequestOutcome SingleOutcome::take() {
  const std::lock_guard guard(lock_);
  return std::move(outcome_);
}

void SingleOutcome::finish() noexcept {
  finished_ = true;
  if (timeLimit_) std::exchange(timeLimit_, nullptr)->cancel();
  if (connection_) connection_->invalidate();
}

void SingleOutcome::resume() {
  std::function<void()> resumeCaller;
  {
    const std::lock_guard guard(lock_);
    std::swap(resumeCaller, resumeCaller_);
  }
  if (resumeCaller) resumeCaller();
}

}  // namespace blindfold
