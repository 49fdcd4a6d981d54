#include "blindfold/helperclient/single_outcome.h"

#include <utility>

namespace blindfold {

SingleOutcome::SingleOutcome(std::shared_ptr<HelperConnection> connection,
                             std::function<void(RequestOutcome)> tellCaller)
    : connection_(std::move(connection)), tellCaller_(std::move(tellCaller)) {}

void SingleOutcome::armTimeLimit(const std::shared_ptr<SingleOutcome>& self, TimedWorkQueue& queue,
                                 std::chrono::nanoseconds delay) {
  const auto item = queue.schedule(
      delay, [self] { self->complete(HelperClientError(HelperClientError::Case::timeout)); });
  const std::lock_guard guard(self->lock_);
  if (self->finished_) {
    item->cancel();
  } else {
    self->timeLimit_ = item;
  }
}

void SingleOutcome::complete(RequestOutcome outcome) {
  const std::lock_guard guard(lock_);
  if (finished_) return;
  finished_ = true;
  if (timeLimit_) std::exchange(timeLimit_, nullptr)->cancel();
  connection_->invalidate();
  tellCaller_(std::move(outcome));
}

}  // namespace blindfold
