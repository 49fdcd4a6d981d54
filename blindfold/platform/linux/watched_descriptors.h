#pragma once

#include <poll.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "blindfold/platform/posix/file_descriptor.h"

namespace blindfold {

/// The file descriptors that a loop watches, and its wait for them in poll(2). The loop's lock
/// guards them: every operation is called with the lock held, and what one hands out is destroyed
/// without it, because handlers may own what calls the loop as it is destroyed.
class WatchedDescriptors {
 public:
  using Lock = std::unique_lock<std::mutex>;
  using Handler = std::function<void(short revents)>;

  struct Watch {
    std::uint64_t serial = 0;  ///< Tells this watch from a later one of the same descriptor.
    short events = 0;
    std::shared_ptr<const Handler> handler;  ///< Shared with the call that is under way.
  };
  using Node = std::map<int, Watch>::node_type;

  /// The descriptors of one wait, with the events of each once the wait has ended.
  struct Polled {
    std::vector<pollfd> descriptors;
    std::vector<std::uint64_t> serials;  ///< Of the watches behind `descriptors`.
  };

  bool isEmpty() const { return watches_.empty(); }

  /// Watches `descriptor` for `events`. Returns the watch that this one replaces.
  Watch watch(int descriptor, short events, std::shared_ptr<const Handler> handler);

  /// Ends the watch of `descriptor`, and returns it; empty when there is none.
  Node unwatch(int descriptor) { return watches_.extract(descriptor); }

  /// Ends the watch of the lowest descriptor, and returns it. There is one. Takes no memory.
  Node unwatchFirst() { return watches_.extract(watches_.begin()); }

  /// Waits, without the lock, until a descriptor is ready, `timeout` milliseconds have passed
  /// (never when it is negative) or `wake` is called. The result is empty when nothing is known to
  /// be ready. Not while another thread waits: it might take the wake that is meant for that one.
  Polled wait(Lock& lock, int timeout);

  /// Whether a thread waits.
  bool isWaiting() const { return isWaiting_; }

  /// Calls, without the lock, the handler of the descriptor at `index` if that is ready, and its
  /// watch still the one that was waited for.
  void callHandler(Lock& lock, const Polled& polled, std::size_t index);

  /// Keeps the memory of `polled` for the next wait.
  void recycle(Polled polled) { polled_ = std::move(polled); }

  /// Ends the wait, if there is one.
  void wake();

 private:
  std::map<int, Watch> watches_;
  std::uint64_t nextSerial_ = 0;
  bool isWaiting_ = false;         // a thread is in poll
  bool isWoken_ = false;           // it is to leave poll: the wake descriptor is ready
  FileDescriptor wakeDescriptor_;  // an eventfd, from when there is more than one thread
  Polled polled_;
};

}  // namespace blindfold
