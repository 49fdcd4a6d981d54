#pragma once

#include <coroutine>
#include <functional>
#include <memory>

#include "blindfold/helperclient/single_outcome.h"
#include "blindfold/platform/platform.h"

namespace blindfold {

/// Sends one message on the proxy, with the reply handler that it is given. Called once, while the
/// request is being set up; a `PlatformError` that it throws ends the request.
using MessageBody = std::function<void(HelperProxy&, ReplyHandler)>;

/// One request over a fresh connection, to be awaited once: `co_await Request(...)` yields the
/// reply's bytes or throws the `HelperClientError` that ended it. The awaiting coroutine goes on
/// from the platform's main loop.
class Request {
 public:
  /// `connection` has not been resumed; `timeLimit` is in seconds.
  Request(const Platform& platform, std::shared_ptr<HelperConnection> connection, double timeLimit,
          MessageBody body);

  bool await_ready() const noexcept { return false; }
  void await_suspend(std::coroutine_handle<> caller);
  Bytes await_resume();

 private:
  const Platform& platform_;
  std::shared_ptr<HelperConnection> connection_;
  double timeLimit_;
  MessageBody body_;
  RequestOutcome outcome_;  // has its meaning once the caller is resumed
};

}  // namespace blindfold
