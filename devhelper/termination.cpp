#include "devhelper/termination.h"

#include <unistd.h>

#include <atomic>
#include <cassert>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace blindfold {
namespace {
/// The path of the ephemeral file, or null. Read by the signal handler.
std::atomic<const char*> ephemeralPath = nullptr;
static_assert(decltype(ephemeralPath)::is_always_lock_free);
}  // namespace

extern "C" {
/// Calls async-signal-safe functions only (POSIX, signal concepts).
static void endProcess(int /*signal*/) {
  if (const char* const path = ephemeralPath) unlink(path);
  _exit(EXIT_SUCCESS);
}
}

void endOnTerminationSignals() {
  struct sigaction hangUp{};
  sigaction(SIGHUP, nullptr, &hangUp);
  struct sigaction end{};
  end.sa_handler = endProcess;
  sigfillset(&end.sa_mask);
  struct sigaction ignore{};
  ignore.sa_handler = SIG_IGN;
  sigset_t blocked{};
  sigemptyset(&blocked);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&blocked, signal);
    if (signal != SIGHUP || hangUp.sa_handler != SIG_IGN) sigaction(signal, &end, nullptr);
  }
  for (const int signal : {SIGPIPE, SIGXFSZ}) sigaction(signal, &ignore, nullptr);
  // The process may have been started with these blocked.
  sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
}

EphemeralFile::EphemeralFile(std::string path) : path_(std::move(path)) {
  assert(ephemeralPath == nullptr);
  ephemeralPath = path_.c_str();
}

EphemeralFile::~EphemeralFile() {
  // In this order a signal in between finds the file to remove or finds it removed.
  unlink(path_.c_str());
  ephemeralPath = nullptr;
}

}  // namespace blindfold
