#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The conversion between numbers and their JSON text. A text to be parsed must have the form of a
/// JSON number (RFC 8259, section 6), with any number of digits and any exponent. The locale has no
/// influence.
namespace blindfold {

/// The exact value of `number` if it is an integer in 64 signed bits ("512", "512.0", "5.12e2",
/// "-0"), or `std::nullopt`.
std::optional<std::int64_t> parseInteger(std::string_view number);

/// Whether the value of `number` is an integer, of any size.
bool isInteger(std::string_view number);

/// The double nearest to the value of `number`, or `std::nullopt` when that is not finite.
std::optional<double> parseDouble(std::string_view number);

/// Appends `value` in decimal.
void appendNumber(std::string& text, std::int64_t value);

/// Appends the shortest decimal that parses to `value`, which must be finite: "30", "0.0001", "-0",
/// and with an exponent ("1e-05", "1e+20") below 1e-4 and above 2^54.
void appendNumber(std::string& text, double value);

}  // namespace blindfold
