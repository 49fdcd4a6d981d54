#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <variant>

#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/helperclient/task.h"
#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/timed_work.h"

namespace blindfold {

/// How a request ended: the reply's bytes, or the error in their place.
using RequestOutcome = std::variant<Bytes, HelperClientError>;

/// The single-outcome rule of one request. The first of reply, proxy error, loss of the connection,
/// time limit and giving up ends the request; whatever comes later is dropped. The caller is
/// resumed once, or never when it gave up.
///
/// Any thread may call every operation. One lock guards the state; it is held while the time limit
/// is cancelled and the connection invalidated, which is safe because neither calls a handler. It
/// is not held while the executor is called.
class SingleOutcome : public std::enable_shared_from_this<SingleOutcome> {
 public:
  /// `resumeCaller` runs on `executor` once there is an outcome, unless `abandon` came first.
  SingleOutcome(std::shared_ptr<const Executor> executor, std::function<void()> resumeCaller);
  SingleOutcome(const SingleOutcome&) = delete;
  SingleOutcome& operator=(const SingleOutcome&) = delete;

  /// The connection to invalidate with the outcome; at once when there is an outcome already.
  void setConnection(std::shared_ptr<HelperConnection> connection);

  /// From `delay` from now on the outcome is `timeout`, unless there is one already. The time limit
  /// keeps this object alive until the request ends.
  void armTimeLimit(TimedWorkQueue& queue, std::chrono::nanoseconds delay);

  /// Ends the request with `outcome`; does nothing when it has ended.
  void complete(RequestOutcome outcome);

  /// Ends the request without an outcome, if it has not ended; the caller is not resumed from now
  /// on. Not while the caller is being resumed on another thread.
  void abandon() noexcept;

  /// The outcome, moved out. Only for the resumed caller, once.
  RequestOutcome take();

 private:
  void finish() noexcept;
  void resume();

  const std::shared_ptr<const Executor> executor_;
  std::mutex lock_;
  bool finished_ = false;
  std::shared_ptr<HelperConnection> connection_;
  std::shared_ptr<WorkItem> timeLimit_;
  RequestOutcome outcome_;
  std::function<void()> resumeCaller_;  // null once the caller is resumed or has given up
};

}  // namespace blindfold
