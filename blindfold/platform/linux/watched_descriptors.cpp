#include "blindfold/platform/linux/watched_descriptors.h"

#include <sys/eventfd.h>
#include <sys/single_threaded.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

namespace blindfold {
namespace {
/// The time between two calls of poll that fail.
constexpr std::chrono::milliseconds pollFailurePause{10};
}  // namespace

WatchedDescriptors::Watch WatchedDescriptors::watch(int descriptor, short events,
                                                    std::shared_ptr<const Handler> handler) {
  return std::exchange(watches_[descriptor], {nextSerial_++, events, std::move(handler)});
}

WatchedDescriptors::Polled WatchedDescriptors::wait(Lock& lock, int timeout) {
  if (__libc_single_threaded == 0 && !wakeDescriptor_) {
    wakeDescriptor_ = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  }
  Polled polled = std::exchange(polled_, {});
  polled.descriptors.clear();
  polled.serials.clear();
  for (const auto& [descriptor, watch] : watches_) {
    polled.descriptors.push_back({descriptor, watch.events, 0});
    polled.serials.push_back(watch.serial);
  }
  if (wakeDescriptor_) polled.descriptors.push_back({wakeDescriptor_.get(), POLLIN, 0});
  assert(!isWaiting_);
  isWaiting_ = true;
  lock.unlock();
  const int count = poll(polled.descriptors.data(), polled.descriptors.size(), timeout);
  // It fails at once, again and again, for want of memory or of the right to so many descriptors.
  if (count < 0 && errno != EINTR) std::this_thread::sleep_for(pollFailurePause);
  lock.lock();
  isWaiting_ = false;
  if (std::exchange(isWoken_, false)) {
    std::uint64_t wakes = 0;
    (void)!read(wakeDescriptor_.get(), &wakes, sizeof wakes);
  }
  // After a failure, and a signal is one, nothing is known to be ready.
  if (count <= 0) polled.serials.clear();
  return polled;
}

/// An earlier handler may have ended or replaced the watch.
void WatchedDescriptors::callHandler(Lock& lock, const Polled& polled, std::size_t index) {
  const pollfd& ready = polled.descriptors[index];
  if (ready.revents == 0) return;
  const auto watch = watches_.find(ready.fd);
  if (watch == watches_.end() || watch->second.serial != polled.serials[index]) return;
  auto handler = watch->second.handler;
  lock.unlock();
  (*handler)(ready.revents);
  handler = nullptr;
  lock.lock();
}

/// Without a wake descriptor the wait was entered by the process's only thread, so that no other
/// thread can call this before it ends.
void WatchedDescriptors::wake() {
  if (!isWaiting_ || isWoken_ || !wakeDescriptor_) return;
  isWoken_ = true;
  const std::uint64_t one = 1;
  while (write(wakeDescriptor_.get(), &one, sizeof one) < 0 && errno == EINTR) {
  }
}

}  // namespace blindfold
