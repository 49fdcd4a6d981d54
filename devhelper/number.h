#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

namespace blindfold {

/// The whole number that `text` writes in decimal digits, nothing else around them; nothing when it
/// is not one or exceeds `maximum`.
std::optional<std::uint64_t> parseCount(std::string_view text, std::uint64_t maximum);

/// The seconds that `text` writes as a decimal number, "2", "0.25" or ".5", to the nanosecond
/// (further digits are dropped); nothing when it is not one or exceeds `maximum`.
std::optional<std::chrono::nanoseconds> parseSeconds(std::string_view text,
                                                     std::chrono::seconds maximum);

}  // namespace blindfold
