#pragma once

#include <sys/time.h>

#include <csignal>

namespace blindfold {

/// Interrupts this process with SIGALRM every millisecond, for as long as it lives. One at a time.
class SignalStorm {
 public:
  SignalStorm() {
    count = 0;
    struct sigaction action{};
    action.sa_handler = [](int) { count = count + 1; };
    sigaction(SIGALRM, &action, nullptr);
    setInterval(1000);
  }
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;
  ~SignalStorm() { setInterval(0); }

  /// How many signals came so far.
  int signalCount() const { return count; }

 private:
  static void setInterval(suseconds_t microseconds) {
    const itimerval interval{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &interval, nullptr);
  }

  static inline volatile std::sig_atomic_t count = 0;
};

}  // namespace blindfold
