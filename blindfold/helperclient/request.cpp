#include "blindfold/helperclient/request.h"

#include <chrono>
#include <coroutine>
#include <exception>
#include <utility>

#include "blindfold/authorization/authorization_decision.h"
#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/helperclient/single_outcome.h"

namespace blindfold {
namespace {
using Case = HelperClientError::Case;

/// `seconds` as a delay that the platforms take: from none to `maximumDelay`.
std::chrono::nanoseconds delayOf(double seconds) {
  const std::chrono::duration<double> delay(seconds);
  if (!(delay > delay.zero())) return std::chrono::nanoseconds::zero();
  if (delay >= maximumDelay) return maximumDelay;
  return std::chrono::ceil<std::chrono::nanoseconds>(delay);
}

/// The connection of one request, from its making to its message. Every failure is thrown.
void sendOverNewConnection(const HelperClientState& client, double timeout, const MessageBody& body,
                           const std::shared_ptr<SingleOutcome>& outcome) {
  const auto connection = client.platform.helperConnections.makePrivilegedConnection(
      client.settings.helperMachServiceName());
  outcome->setConnection(connection);
  const auto unreachable = [outcome] {
    outcome->complete(HelperClientError(Case::helperUnreachable));
  };
  connection->setInvalidationHandler(unreachable);
  connection->setInterruptionHandler(unreachable);
  connection->resume();
  outcome->armTimeLimit(client.platform.timedWork, delayOf(timeout));
  const auto proxy = connection->remoteObjectProxy([outcome](const PlatformError& error) {
    outcome->complete(HelperClientError::transport(std::make_exception_ptr(error)));
  });
  if (!proxy) return outcome->complete(HelperClientError(Case::invalidResponse));
  body(*proxy, [outcome](Bytes reply) { outcome->complete(std::move(reply)); });
}

/// The wait for a request's outcome. Destroying it gives the request up.
class PendingRequest {
 public:
  PendingRequest(std::shared_ptr<const HelperClientState> client, double timeout, MessageBody body)
      : client_(std::move(client)), timeout_(timeout), body_(std::move(body)) {}
  PendingRequest(const PendingRequest&) = delete;
  PendingRequest& operator=(const PendingRequest&) = delete;
  ~PendingRequest() {
    if (outcome_) outcome_->abandon();
  }

  bool await_ready() const noexcept { return false; }

  template <class Promise>
  void await_suspend(std::coroutine_handle<Promise> caller) {
    auto executor = caller.promise().executor();
    start(executor ? std::move(executor) : mainLoopExecutor(), caller);
  }

  Bytes await_resume() {
    auto outcome = outcome_->take();
    if (auto* error = std::get_if<HelperClientError>(&outcome)) throw std::move(*error);
    return std::get<Bytes>(std::move(outcome));
  }

 private:
  std::shared_ptr<const Executor> mainLoopExecutor() const {
    return std::make_shared<const Executor>(
        [&mainLoop = client_->platform.mainLoop](std::function<void()> work) {
          mainLoop.post(std::move(work));
        });
  }

  void start(std::shared_ptr<const Executor> executor, std::coroutine_handle<> caller) {
    // The caller may be resumed, and this object end with it, as soon as there is an outcome: from
    // then on only locals are used.
    const auto outcome =
        std::make_shared<SingleOutcome>(std::move(executor), [caller] { caller.resume(); });
    outcome_ = outcome;
    const auto client = client_;
    const double timeout = timeout_;
    const MessageBody body = std::move(body_);
    try {
      sendOverNewConnection(*client, timeout, body, outcome);
    } catch (...) {
      outcome->complete(HelperClientError::transport(std::current_exception()));
    }
  }

  const std::shared_ptr<const HelperClientState> client_;
  const double timeout_;
  MessageBody body_;
  std::shared_ptr<SingleOutcome> outcome_;
};
}  // namespace

Task<Bytes> withConnection(std::shared_ptr<const HelperClientState> client, double timeout,
                           MessageBody body) {
  try {
    if (!client->fileManager.isExecutableFile(client->settings.helperInstallURL().path())) {
      throw HelperClientError(Case::helperNotInstalled);
    }
    if (!client->skipClientAuthorizationPrecheck &&
        !clientAuthorizationAssessment(client->platform, client->settings).mode) {
      throw HelperClientError(Case::unauthorizedClient);
    }
    PendingRequest request(std::move(client), timeout, std::move(body));
    co_return co_await request;
  } catch (const HelperClientError&) {
    throw;
  } catch (...) {
    throw HelperClientError::transport(std::current_exception());
  }
}

}  // namespace blindfold
