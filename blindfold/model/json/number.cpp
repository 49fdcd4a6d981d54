#include "blindfold/model/json/number.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>

namespace blindfold {

namespace {

constexpr std::string_view nonzeroDigits = "123456789";

/// A number is its significant digits (none when it is zero; a point may stand among them) times
/// ten to the power of `exponent`, exactly. The last digit is never 0.
struct Decimal {
  bool isNegative = false;
  std::string_view significand;
  std::int64_t exponent = 0;
};

/// An exponent beyond this is as good as infinite: no text is long enough to make up for it.
constexpr std::int64_t largestExponent = 1'000'000'000'000'000;

/// The value of an exponent's text: an optional sign and digits.
std::int64_t parseExponent(std::string_view text) {
  const bool isNegative = text.front() == '-';
  if (isNegative || text.front() == '+') text.remove_prefix(1);
  std::int64_t exponent = 0;
  for (const char digit : text) {
    exponent = std::min(exponent * 10 + (digit - '0'), largestExponent);
  }
  return isNegative ? -exponent : exponent;
}

Decimal takeApart(std::string_view number) {
  Decimal decimal;
  decimal.isNegative = number.front() == '-';
  const std::size_t endOfMantissa = std::min(number.find_first_of("eE"), number.size());
  const std::string_view mantissa = number.substr(0, endOfMantissa);
  const std::size_t first = mantissa.find_first_of(nonzeroDigits);
  if (first == std::string_view::npos) return decimal;

  const std::size_t last = mantissa.find_last_of(nonzeroDigits);
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  decimal.significand = mantissa.substr(first, last - first + 1);
  decimal.exponent = last < point ? static_cast<std::int64_t>(point - last - 1)
                                  : -static_cast<std::int64_t>(last - point);
  if (endOfMantissa < number.size()) {
    decimal.exponent += parseExponent(number.substr(endOfMantissa + 1));
  }
  return decimal;
}

/// `value` × 10 + `digit`, or nothing when that is too large.
std::optional<std::uint64_t> appendDigit(std::uint64_t value, unsigned digit) {
  constexpr std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
  if (value > (limit - digit) / 10) return std::nullopt;
  return value * 10 + digit;
}

/// The whole number that `decimal`, which has no negative exponent, is without its sign; nothing
/// when that is too large.
std::optional<std::uint64_t> magnitude(const Decimal& decimal) {
  std::optional<std::uint64_t> value = 0;
  for (std::size_t index = 0; value && index < decimal.significand.size(); ++index) {
    const char character = decimal.significand[index];
    if (character != '.') value = appendDigit(*value, static_cast<unsigned>(character - '0'));
  }
  for (std::int64_t zeros = decimal.exponent; value && zeros > 0; --zeros) {
    value = appendDigit(*value, 0);
  }
  return value;
}

/// `decimal` as a text that reads the same in every locale, for it has no point. Of more digits
/// than can make a difference to the nearest double only a trace is kept: a 1 for all the others.
std::string withoutPoint(const Decimal& decimal) {
  constexpr std::size_t enoughDigits = 800;
  std::string text = decimal.isNegative ? "-" : "";
  std::size_t count = 0;
  for (const char character : decimal.significand) {
    if (character == '.') continue;
    if (count < enoughDigits) text += character;
    ++count;
  }
  std::int64_t exponent = decimal.exponent;
  if (count > enoughDigits) {
    text += '1';
    exponent += static_cast<std::int64_t>(count - enoughDigits) - 1;
  }
  return text + "e" + std::to_string(exponent);
}

}  // namespace

std::optional<std::int64_t> parseInteger(std::string_view number) {
  const Decimal decimal = takeApart(number);
  if (decimal.significand.empty()) return 0;
  if (decimal.exponent < 0) return std::nullopt;
  const auto value = magnitude(decimal);
  constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (!value || *value > largest + (decimal.isNegative ? 1 : 0)) return std::nullopt;
  return static_cast<std::int64_t>(decimal.isNegative ? 0 - *value : *value);
}

std::optional<double> parseDouble(std::string_view number) {
  const Decimal decimal = takeApart(number);
  if (decimal.significand.empty()) return decimal.isNegative ? -0.0 : 0.0;
  const double value = std::strtod(withoutPoint(decimal).c_str(), nullptr);
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

void appendNumber(std::string& text, std::int64_t value) {
  text += std::to_string(value);
}

void appendNumber(std::string& text, double value) {
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
