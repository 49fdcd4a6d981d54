#include "blindfold/model/json/number.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <system_error>

namespace blindfold {
namespace {
/// A number as an integer times a power of ten. `digits` has neither leading nor trailing zeros and
/// is empty when the number is zero.
struct Decimal {
  bool isNegative;
  std::string digits;
  std::int64_t exponent;
};

/// A limit for exponents, out of reach of any mantissa that fits in memory.
constexpr std::int64_t largestExponent = 1'000'000'000'000'000;

/// The value of an exponent, an optional sign and digits, cut to ±`largestExponent`.
std::int64_t parseExponent(std::string_view text) {
  const bool isNegative = text.front() == '-';
  if (isNegative || text.front() == '+') text.remove_prefix(1);
  std::int64_t exponent = 0;
  for (const char digit : text) {
    exponent = std::min(exponent * 10 + (digit - '0'), largestExponent);
  }
  return isNegative ? -exponent : exponent;
}

Decimal parseDecimal(std::string_view number) {
  Decimal decimal{.isNegative = number.front() == '-', .digits = {}, .exponent = 0};
  if (decimal.isNegative) number.remove_prefix(1);
  const std::size_t endOfMantissa = std::min(number.find_first_of("eE"), number.size());
  if (endOfMantissa < number.size()) {
    decimal.exponent = parseExponent(number.substr(endOfMantissa + 1));
  }
  const std::size_t point = std::min(number.find('.'), endOfMantissa);
  decimal.digits = number.substr(0, point);
  if (point < endOfMantissa) {
    const std::string_view fraction = number.substr(point + 1, endOfMantissa - point - 1);
    decimal.digits += fraction;
    decimal.exponent -= static_cast<std::int64_t>(fraction.size());
  }
  const std::size_t endOfDigits = decimal.digits.find_last_not_of('0') + 1;
  decimal.exponent += static_cast<std::int64_t>(decimal.digits.size() - endOfDigits);
  decimal.digits.resize(endOfDigits);
  decimal.digits.erase(0, std::min(decimal.digits.find_first_not_of('0'), endOfDigits));
  return decimal;
}

/// Replaces all digits that are too many to change the nearest double by one 1. A tie between two
/// doubles has at most 767 digits.
void shorten(Decimal& decimal) {
  constexpr std::size_t enoughDigits = 800;
  if (decimal.digits.size() <= enoughDigits) return;
  decimal.exponent += static_cast<std::int64_t>(decimal.digits.size() - enoughDigits) - 1;
  decimal.digits.replace(enoughDigits, std::string::npos, "1");
}

/// The value of `number` if it has neither fraction nor exponent and fits in 64 signed bits.
std::optional<std::int64_t> parsePlainInteger(std::string_view number) {
  const char* const begin = number.data();
  const char* const end = begin + number.size();
  std::int64_t value = 0;
  const auto result = std::from_chars(begin, end, value);
  if (result.ec != std::errc{} || result.ptr != end) return std::nullopt;
  return value;
}
}  // namespace

std::optional<std::int64_t> parseInteger(std::string_view number) {
  if (const auto plain = parsePlainInteger(number)) return plain;
  constexpr std::int64_t mostDigits = 19;
  const Decimal decimal = parseDecimal(number);
  if (decimal.digits.empty()) return 0;
  if (decimal.exponent < 0 || decimal.exponent > mostDigits) return std::nullopt;
  const std::string text = (decimal.isNegative ? "-" : "") + decimal.digits +
                           std::string(static_cast<std::size_t>(decimal.exponent), '0');
  return parsePlainInteger(text);
}

bool isInteger(std::string_view number) {
  const Decimal decimal = parseDecimal(number);
  return decimal.digits.empty() || decimal.exponent >= 0;
}

std::optional<double> parseDouble(std::string_view number) {
  Decimal decimal = parseDecimal(number);
  if (decimal.digits.empty()) return decimal.isNegative ? -0.0 : 0.0;
  shorten(decimal);
  // Without a decimal point the text means the same in every locale.
  const std::string text =
      (decimal.isNegative ? "-" : "") + decimal.digits + "e" + std::to_string(decimal.exponent);
  const double value = std::strtod(text.c_str(), nullptr);
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

void appendNumber(std::string& text, std::int64_t value) {
  text += std::to_string(value);
}

void appendNumber(std::string& text, double value) {
  assert(std::isfinite(value));
  constexpr double plainFrom = 1e-4;
  constexpr double plainUpTo = 0x1p54;
  const double size = std::fabs(value);
  const bool isPlain = size == 0 || (size >= plainFrom && size <= plainUpTo);
  std::array<char, 32> buffer{};
  const auto end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                    isPlain ? std::chars_format::fixed : std::chars_format::scientific);
  text.append(buffer.data(), end.ptr);
}

}  // namespace blindfold
