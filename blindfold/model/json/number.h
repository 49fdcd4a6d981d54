#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace blindfold {

// Numbers and their JSON text. What is read must have the form of a JSON number; it may have any
// number of digits and any exponent.

/// The number's exact value when it is a whole number in 64 signed bits ("512", "512.0", "5.12e2",
/// "-0"), nothing when it is not.
std::optional<std::int64_t> parseInteger(std::string_view number);

/// The floating-point number next to the number's value, or nothing when that is not finite.
std::optional<double> parseDouble(std::string_view number);

/// Adds `value` in decimal to `text`.
void appendNumber(std::string& text, std::int64_t value);

/// Adds the shortest decimal that reads back as `value`, which must be finite, to `text`: "30",
/// "0.0001", "-0", and with an exponent ("1e-05", "1e+20") below 1e-4 and above 2^54.
void appendNumber(std::string& text, double value);

}  // namespace blindfold
