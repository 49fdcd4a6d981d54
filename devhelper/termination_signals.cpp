#include "devhelper/termination_signals.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "devhelper/system_failure.h"

namespace blindfold {
namespace {

/// Blocks the signals, so that they wait to be read. The kernel then keeps even one that the
/// process was started to ignore.
FileDescriptor openSignals() {
  sigset_t signals{};
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  if (sigprocmask(SIG_BLOCK, &signals, nullptr) != 0) throw systemFailure("cannot block signals");
  FileDescriptor descriptor(signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
  if (!descriptor) throw systemFailure("cannot receive signals");
  return descriptor;
}

}  // namespace

TerminationSignals::TerminationSignals(EventLoop& loop, std::function<void()> handler)
    : loop_(loop), handler_(std::move(handler)), signals_(openSignals()) {
  loop_.watch(signals_.get(), POLLIN, [this](short) { receive(); });
}

TerminationSignals::~TerminationSignals() {
  loop_.unwatch(signals_.get());
}

void TerminationSignals::receive() {
  signalfd_siginfo signal{};
  if (read(signals_.get(), &signal, sizeof signal) == sizeof signal) handler_();
}

}  // namespace blindfold
