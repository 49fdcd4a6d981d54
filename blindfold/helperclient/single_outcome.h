#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <variant>

#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/timed_work.h"

namespace blindfold {

/// How a request ended: the reply's bytes, or why there are none.
using RequestOutcome = std::variant<Bytes, HelperClientError>;

/// The single-outcome rule of one request. Of all that may end it (reply, proxy error, loss of the
/// connection, time limit) the first does, whatever comes later is dropped without a word, and the
/// one who waits hears of exactly one.
///
/// Any thread may call every operation. One lock guards the whole; it is held while the time limit
/// is cancelled, the connection invalidated and the caller told, which is safe because none of
/// these calls back.
class SingleOutcome {
 public:
  /// `tellCaller` receives the outcome, once. It must only hand it on (to a queue, say): it is
  /// called under the lock, on whatever thread the outcome came.
  SingleOutcome(std::shared_ptr<HelperConnection> connection,
                std::function<void(RequestOutcome)> tellCaller);

  /// From `delay` from now on the outcome is `timeout`, unless there is one already. `self` is
  /// this object: the time limit keeps it alive until the request ends.
  static void armTimeLimit(const std::shared_ptr<SingleOutcome>& self, TimedWorkQueue& queue,
                           std::chrono::nanoseconds delay);

  /// Ends the request with `outcome` if nothing has ended it before, else does nothing.
  void complete(RequestOutcome outcome);

 private:
  std::mutex lock_;
  bool finished_ = false;
  std::shared_ptr<WorkItem> timeLimit_;
  const std::shared_ptr<HelperConnection> connection_;
  const std::function<void(RequestOutcome)> tellCaller_;
};

}  // namespace blindfold
