#include "blindfold/helperclient/request.h"

#include <chrono>
#include <exception>
#include <utility>

namespace blindfold {
namespace {

using Case = HelperClientError::Case;

/// `seconds` as a delay of timed work. Negative and not a number are no delay.
std::chrono::nanoseconds delayOf(double seconds) {
  const std::chrono::duration<double> delay(seconds);
  if (!(delay > delay.zero())) return std::chrono::nanoseconds::zero();
  if (delay >= maximumDelay) return maximumDelay;
  return std::chrono::ceil<std::chrono::nanoseconds>(delay);
}

/// Everything from the handlers to the message. Whatever ends the request on the way is an outcome.
void start(const Platform& platform, HelperConnection& connection,
           const std::shared_ptr<SingleOutcome>& outcome, double timeLimit,
           const MessageBody& body) {
  const auto unreachable = [outcome] {
    outcome->complete(HelperClientError(Case::helperUnreachable));
  };
  connection.setInvalidationHandler(unreachable);
  connection.setInterruptionHandler(unreachable);
  connection.resume();
  SingleOutcome::armTimeLimit(outcome, platform.timedWork, delayOf(timeLimit));

  const auto proxy = connection.remoteObjectProxy([outcome](const PlatformError& error) {
    outcome->complete(HelperClientError::transport(std::make_exception_ptr(error)));
  });
  if (!proxy) {
    outcome->complete(HelperClientError(Case::invalidResponse));
    return;
  }
  body(*proxy, [outcome](Bytes reply) { outcome->complete(std::move(reply)); });
}

}  // namespace

Request::Request(const Platform& platform, std::shared_ptr<HelperConnection> connection,
                 double timeLimit, MessageBody body)
    : platform_(platform),
      connection_(std::move(connection)),
      timeLimit_(timeLimit),
      body_(std::move(body)) {}

void Request::await_suspend(std::coroutine_handle<> caller) {
  // The caller may go on, and this object end with it, as soon as there is an outcome: from here on
  // only locals are used.
  const Platform& platform = platform_;
  const auto connection = connection_;
  const double timeLimit = timeLimit_;
  const MessageBody body = std::move(body_);
  const auto outcome = std::make_shared<SingleOutcome>(
      connection, [this, caller, &mainLoop = platform.mainLoop](RequestOutcome result) {
        outcome_ = std::move(result);
        mainLoop.post([caller] { caller.resume(); });
      });
  try {
    start(platform, *connection, outcome, timeLimit, body);
  } catch (...) {
    outcome->complete(HelperClientError::transport(std::current_exception()));
  }
}

Bytes Request::await_resume() {
  if (const auto* error = std::get_if<HelperClientError>(&outcome_)) throw *error;
  return std::get<Bytes>(std::move(outcome_));
}

}  // namespace blindfold
