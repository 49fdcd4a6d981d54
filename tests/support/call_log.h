#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace blindfold {

/// The calls that the fakes of one test received, in order. Any thread may call.
class CallLog {
 public:
  void add(std::string call) {
    const std::lock_guard guard(lock_);
    calls_.push_back(std::move(call));
  }

  std::vector<std::string> calls() const {
    const std::lock_guard guard(lock_);
    return calls_;
  }

  void clear() {
    const std::lock_guard guard(lock_);
    calls_.clear();
  }

 private:
  mutable std::mutex lock_;
  std::vector<std::string> calls_;
};

}  // namespace blindfold
