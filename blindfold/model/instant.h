#pragma once

#include <chrono>

namespace blindfold {

/// An absolute instant, in UTC. It spans about 292,000 years either side of 1970; its JSON form
/// drops the fraction of a second.
using Instant = std::chrono::sys_time<std::chrono::microseconds>;

}  // namespace blindfold
