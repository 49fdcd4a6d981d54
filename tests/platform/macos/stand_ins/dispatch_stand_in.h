#pragma once

#include <cstdint>

namespace blindfold {

/// The arguments of this thread's last calls of dispatch's stand-in.
struct DispatchStandIn {
  /// Of `dispatch_time`.
  struct Time {
    std::uint64_t base = ~std::uint64_t{0};
    std::int64_t delta = 0;
    bool operator==(const Time&) const = default;
  };

  /// Of `dispatch_get_global_queue`.
  struct Queue {
    std::intptr_t identifier = -1;
    std::uintptr_t flags = 0;
    bool operator==(const Queue&) const = default;
  };

  static Time lastTime();
  static Queue lastQueue();
};

}  // namespace blindfold
