#include "devhelper/number.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string>
#include <system_error>

#include "blindfold/text/ascii.h"

namespace blindfold {
namespace {

constexpr std::size_t nanosecondDigits = 9;

bool isDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), isDigit);
}

}  // namespace

std::optional<std::uint64_t> parseCount(std::string_view text, std::uint64_t maximum) {
  std::uint64_t count = 0;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  const auto parsed = std::from_chars(begin, end, count);
  if (parsed.ec != std::errc() || parsed.ptr != end || count > maximum) return std::nullopt;
  return count;
}

std::optional<std::chrono::nanoseconds> parseSeconds(std::string_view text,
                                                     std::chrono::seconds maximum) {
  const auto point = std::min(text.find('.'), text.size());
  const auto whole = text.substr(0, point);
  const auto fraction = text.substr(std::min(point + 1, text.size()));
  if (whole.empty() && fraction.empty()) return std::nullopt;
  if (!isDigits(whole) || !isDigits(fraction)) return std::nullopt;

  const auto limit = static_cast<std::uint64_t>(maximum.count());
  const auto seconds = whole.empty() ? 0 : parseCount(whole, limit);
  std::string nanoseconds(fraction.substr(0, nanosecondDigits));
  nanoseconds.resize(nanosecondDigits, '0');
  const auto part = parseCount(nanoseconds, UINT64_MAX);
  if (!seconds || !part) return std::nullopt;
  const auto result = std::chrono::seconds(*seconds) + std::chrono::nanoseconds(*part);
  if (result > maximum) return std::nullopt;
  return result;
}

}  // namespace blindfold
