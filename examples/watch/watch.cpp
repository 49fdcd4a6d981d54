// Prints the helper's mode each second until SIGINT or SIGTERM. The program has a poll(2) loop of
// its own and does not hand its main thread over: a second thread starts the requests, and their
// results come to the loop.

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/run_task.h"

namespace {
using namespace blindfold;

/// The main thread's loop. Its poll(2) ends when there is work, by a byte in a pipe.
class PollLoop {
 public:
  PollLoop() {
    if (pipe(pipe_.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    for (const int end : pipe_) {
      fcntl(end, F_SETFL, O_NONBLOCK);
      fcntl(end, F_SETFD, FD_CLOEXEC);
    }
  }
  PollLoop(const PollLoop&) = delete;
  PollLoop& operator=(const PollLoop&) = delete;
  ~PollLoop() {
    for (const int end : pipe_) close(end);
  }

  /// Runs `work` on the thread that is in `run`. Any thread may call.
  void add(std::function<void()> work) {
    const std::lock_guard guard(lock_);
    work_.push_back(std::move(work));
    wake();
  }

  /// Ends `run`. A signal handler may call.
  void end() {
    isEnding_ = true;
    wake();
  }

  void run() {
    pollfd wakeUp{.fd = pipe_[0], .events = POLLIN, .revents = 0};
    while (!isEnding_) {
      if (poll(&wakeUp, 1, -1) < 0) continue;  // interrupted by a signal
      std::array<char, 64> bytes{};
      while (read(pipe_[0], bytes.data(), bytes.size()) > 0) continue;
      for (const auto& work : takeWork()) work();
    }
  }

 private:
  void wake() const {
    const int error = errno;
    [[maybe_unused]] const auto count = write(pipe_[1], "", 1);  // a full pipe wakes as well
    errno = error;
  }

  std::vector<std::function<void()>> takeWork() {
    const std::lock_guard guard(lock_);
    return std::exchange(work_, {});
  }

  std::array<int, 2> pipe_{};
  std::atomic<bool> isEnding_ = false;
  std::mutex lock_;
  std::vector<std::function<void()>> work_;
};

void printResult(const TaskResult<HoldState>& result) {
  const bool hasValue = result.hasValue();
  std::printf("%s\n",
              hasValue ? result.value().mode.c_str() : errorDescription(result.error()).c_str());
}

/// A thread that asks for the helper's state each second, from its making to its destruction. A
/// request that is not answered by then is given up.
class Watcher {
 public:
  Watcher(HelperClient& client, PollLoop& loop)
      : client_(client), loop_(loop), thread_([this] { run(); }) {}
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;
  ~Watcher() {
    {
      const std::lock_guard guard(lock_);
      isEnding_ = true;
    }
    ending_.notify_one();
    thread_.join();
  }

 private:
  void run() {
    StartedTask request;
    std::unique_lock guard(lock_);
    do {
      request = start(client_.currentState(), printResult,
                      [this](std::function<void()> work) { loop_.add(std::move(work)); });
    } while (!ending_.wait_for(guard, std::chrono::seconds(1), [this] { return isEnding_; }));
  }

  HelperClient& client_;
  PollLoop& loop_;
  std::mutex lock_;
  std::condition_variable ending_;
  bool isEnding_ = false;
  std::thread thread_;
};

PollLoop* signalledLoop = nullptr;

void endLoop(int /*signal*/) {
  signalledLoop->end();
}
}  // namespace

int main() {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  PollLoop loop;
  signalledLoop = &loop;
  std::signal(SIGINT, endLoop);
  std::signal(SIGTERM, endLoop);

  HelperClient client(/*skipClientAuthorizationPrecheck=*/false);
  {
    const Watcher watcher(client, loop);
    loop.run();
  }
  std::printf("Ended.\n");
  return EXIT_SUCCESS;
}
