#include "blindfold/model/json/iso8601.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cstddef>

#include "blindfold/text/ascii.h"

namespace blindfold {
namespace {
using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

/// Forms, in which a 0 matches any digit and every other character itself.
constexpr std::string_view localTimeForm = "0000-00-00T00:00:00";
constexpr std::string_view offsetForm = "00:00";

constexpr sys_days firstDay{std::chrono::year{0} / 1 / 1};
constexpr sys_days dayAfterLast{std::chrono::year{10000} / 1 / 1};

bool isWithinYears(Instant instant) {
  return instant >= firstDay && instant < dayAfterLast;
}

bool hasForm(std::string_view text, std::string_view form) {
  return std::equal(text.begin(), text.end(), form.begin(), form.end(),
                    [](char character, char expected) {
                      return expected == '0' ? isDigit(character) : character == expected;
                    });
}

/// The number of `length` digits at `position`.
int number(std::string_view text, std::size_t position, std::size_t length) {
  int value = 0;
  for (const char digit : text.substr(position, length)) value = value * 10 + (digit - '0');
  return value;
}

/// The time of day or offset hh:mm at `position`, or `std::nullopt` when it is not below 24:00.
std::optional<minutes> parseHoursAndMinutes(std::string_view text, std::size_t position) {
  const int hour = number(text, position, 2);
  const int minute = number(text, position + 3, 2);
  if (hour > 23 || minute > 59) return std::nullopt;
  return hours{hour} + minutes{minute};
}

std::optional<sys_seconds> parseLocalTime(std::string_view text) {
  if (!hasForm(text, localTimeForm)) return std::nullopt;
  const std::chrono::year_month_day date{
      std::chrono::year{number(text, 0, 4)},
      std::chrono::month{static_cast<unsigned>(number(text, 5, 2))},
      std::chrono::day{static_cast<unsigned>(number(text, 8, 2))}};
  const auto timeOfDay = parseHoursAndMinutes(text, 11);
  const int second = number(text, 17, 2);
  if (!date.ok() || !timeOfDay || second > 59) return std::nullopt;
  return sys_days{date} + *timeOfDay + seconds{second};
}

/// The offset of local time from UTC, positive east of it.
std::optional<minutes> parseZone(std::string_view text) {
  if (text == "Z") return minutes{0};
  if (text.empty() || !hasForm(text.substr(1), offsetForm)) return std::nullopt;
  const auto offset = parseHoursAndMinutes(text, 1);
  if (!offset) return std::nullopt;
  if (text.front() == '+') return offset;
  if (text.front() == '-') return -*offset;
  return std::nullopt;
}

/// Writes `number` over the digits of `text` that end before `end`.
void writeDigits(std::string& text, std::size_t end, int number) {
  for (; number > 0; number /= 10) text[--end] = static_cast<char>('0' + number % 10);
}
}  // namespace

std::optional<Instant> parseISO8601(std::string_view text) {
  const auto localTime = parseLocalTime(text.substr(0, localTimeForm.size()));
  if (!localTime) return std::nullopt;
  const auto offset = parseZone(text.substr(localTimeForm.size()));
  if (!offset) return std::nullopt;
  const sys_seconds instant = *localTime - *offset;
  if (!isWithinYears(instant)) return std::nullopt;
  return instant;
}

std::string formatISO8601(Instant instant) {
  assert(isWithinYears(instant));
  const auto second = std::chrono::floor<seconds>(instant);
  const auto day = std::chrono::floor<days>(second);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss time{second - day};
  std::string text(localTimeForm);
  writeDigits(text, 4, static_cast<int>(date.year()));
  writeDigits(text, 7, static_cast<int>(static_cast<unsigned>(date.month())));
  writeDigits(text, 10, static_cast<int>(static_cast<unsigned>(date.day())));
  writeDigits(text, 13, static_cast<int>(time.hours().count()));
  writeDigits(text, 16, static_cast<int>(time.minutes().count()));
  writeDigits(text, 19, static_cast<int>(time.seconds().count()));
  text += 'Z';
  return text;
}

}  // namespace blindfold
