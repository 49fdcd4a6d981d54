// Holds the built-in camera until SIGINT or SIGTERM, then releases it. An interruption also ends a
// request that the helper does not answer.
//
// hold_camera [SECONDS]: the time between two renewals of the lease, 10 by default.

#include <pthread.h>
#include <signal.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "blindfold/cli/hold_selection.h"
#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/run_task.h"

namespace {
using namespace blindfold;

/// The signals that interrupt the program, blocked in every thread and received by one of its own.
/// Made before there is another thread.
class Interruption {
 public:
  Interruption() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    receiver_ = std::thread([this] { receive(); });
  }
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption() {
    pthread_kill(receiver_.native_handle(), SIGTERM);
    receiver_.join();
  }

  /// Waits for `time`. Returns false when it is interrupted, now or before.
  bool sleep(std::chrono::seconds time) {
    std::unique_lock guard(lock_);
    return !changed_.wait_for(guard, time, [this] { return isInterrupted_; });
  }

  /// Waits until `task` has ended, and returns its value or throws its error. An interruption gives
  /// the task up; then there is no value.
  template <class T>
  std::optional<T> wait(Task<T> task) {
    std::optional<TaskResult<T>> result;
    const StartedTask started = start(
        std::move(task), [&](TaskResult<T> end) { result.emplace(std::move(end)); },
        [this](std::function<void()> work) { add(std::move(work)); });
    while (!result) {
      const auto work = nextWork();
      if (!work) return std::nullopt;
      work();
    }
    return std::move(*result).value();
  }

 private:
  void receive() {
    int signal = 0;
    sigwait(&signals_, &signal);
    const std::lock_guard guard(lock_);
    isInterrupted_ = true;
    changed_.notify_all();
  }

  void add(std::function<void()> work) {
    const std::lock_guard guard(lock_);
    work_.push_back(std::move(work));
    changed_.notify_all();
  }

  /// Null when the program is interrupted.
  std::function<void()> nextWork() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return isInterrupted_ || !work_.empty(); });
    if (isInterrupted_) return nullptr;
    auto work = std::move(work_.front());
    work_.pop_front();
    return work;
  }

  sigset_t signals_{};
  std::mutex lock_;
  std::condition_variable changed_;
  bool isInterrupted_ = false;
  std::deque<std::function<void()>> work_;
  std::thread receiver_;
};

/// Holds, renews and releases. Returns false when there is nothing to hold or the hold is lost.
bool holdCamera(HelperClient& client, std::chrono::seconds renewalPeriod) {
  Interruption interruption;
  const auto reply = interruption.wait(client.detectTargets(client.statusRequestTimeout));
  if (!reply) return true;
  const DetectionResult detected = decodeDetectionResult(*reply);
  HoldRequest request = makeBuiltInHoldRequest(detected.cameras, detected.selectedCameraID,
                                               detected.resolvedTargets, detected.serviceStates);
  const auto held = interruption.wait(client.hold(std::move(request)));
  if (!held) return true;  // a hold that was made nevertheless ends with its lease
  std::printf("%s\n", held->message.c_str());
  if (!held->success || !held->holdState || !held->holdState->leaseID) return false;

  const std::string lease = *held->holdState->leaseID;
  while (interruption.sleep(renewalPeriod)) {
    const auto renewed = interruption.wait(client.renew(lease));
    if (!renewed) break;
    std::printf("%s\n", renewed->message.c_str());
    if (!renewed->success) return false;
  }
  std::printf("%s\n", syncWait(client.release(lease)).message.c_str());
  return true;
}
}  // namespace

int main(int argumentCount, char* arguments[]) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const std::chrono::seconds renewalPeriod(argumentCount > 1 ? std::atoi(arguments[1]) : 10);
  HelperClient client(/*skipClientAuthorizationPrecheck=*/false);
  try {
    return holdCamera(client, renewalPeriod) ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return EXIT_FAILURE;
  }
}
