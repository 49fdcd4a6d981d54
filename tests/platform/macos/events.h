#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace blindfold {

/// Events in their order, reported by any thread to a test that waits for them.
class Events {
 public:
  void add(const std::string& event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
    changed_.notify_all();
  }

  /// The events once there are `count` of them; fewer when that takes too long.
  std::vector<std::string> waitFor(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(10), [&] { return events_.size() >= count; });
    return events_;
  }

  std::vector<std::string> soFar() const {
    const std::lock_guard lock(mutex_);
    return events_;
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> events_;
};

/// Waits until `condition` holds. False when that takes too long.
template <class Condition>
bool comesTrue(const Condition& condition) {
  std::mutex mutex;
  std::condition_variable never;
  std::unique_lock lock(mutex);
  for (int attempt = 0; attempt < 10000; ++attempt) {
    if (condition()) return true;
    never.wait_for(lock, std::chrono::milliseconds(1));
  }
  return condition();
}

}  // namespace blindfold
