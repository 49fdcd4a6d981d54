#pragma once

#include <chrono>
#include <functional>

#include "blindfold/model/instant.h"

namespace blindfold {

/// One look at the clock: the date, which may be set, and a time that only moves forward, counted
/// from anywhere.
struct Moment {
  Instant date;
  std::chrono::nanoseconds uptime;
};

using Clock = std::function<Moment()>;

/// The moment of the call, from the system's clocks.
Moment currentMoment();

}  // namespace blindfold
