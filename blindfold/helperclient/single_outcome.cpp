#include "blindfold/helperclient/single_outcome.h"

#include <utility>

namespace blindfold {

SingleOutcome::SingleOutcome(std::shared_ptr<HelperConnection> connection,
                             std::function<void(RequestOutcome)> tellCaller)
    : connection_(std::move(connection)), tellCaller_(std::move(tellCaller)) {}

void SingleOutcome::armTimeLimit(const std::shared_ptr<SingleOutcome>& self, TimedWorkQueue& queue,
                                 double seconds) {
  const auto item = queue.makeWorkItem(
      [self] { self->complete(HelperClientError(HelperClientError::Case::timeout)); });
  {
    const std::lock_guard guard(self->lock_);
    if (self->finished_) return;
    self->timeLimit_ = item;
  }
  queue.schedule(item, seconds);
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
