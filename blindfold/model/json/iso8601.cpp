#include "blindfold/model/json/iso8601.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ratio>

#include "blindfold/text/ascii.h"

namespace blindfold {

namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

// In these a 0 stands for any digit and every other character for itself.
constexpr std::string_view localTimeForm = "0000-00-00T00:00:00";
constexpr std::string_view offsetForm = "00:00";

constexpr sys_days firstDay{std::chrono::year{0} / 1 / 1};
constexpr sys_days dayAfterLast{std::chrono::year{10000} / 1 / 1};

/// After so many years, which are so many days, the Gregorian calendar repeats itself.
constexpr int yearsOfCycle = 400;
using Cycles =
    std::chrono::duration<std::int64_t, std::ratio_multiply<days::period, std::ratio<146'097>>>;

bool hasForm(std::string_view text, std::string_view form) {
  return std::equal(text.begin(), text.end(), form.begin(), form.end(),
                    [](char character, char expected) {
                      return expected == '0' ? isDigit(character) : character == expected;
                    });
}

/// The number at `position` that takes `length` digits.
int number(std::string_view text, std::size_t position, std::size_t length) {
  int value = 0;
  for (const char digit : text.substr(position, length)) value = value * 10 + (digit - '0');
  return value;
}

/// A time of day or an offset: hh:mm at `position`, or nothing when it reaches 24:00.
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

/// How far local time is ahead of UTC.
std::optional<minutes> parseZone(std::string_view text) {
  if (text == "Z") return minutes{0};
  if (text.empty() || !hasForm(text.substr(1), offsetForm)) return std::nullopt;
  const auto offset = parseHoursAndMinutes(text, 1);
  if (!offset) return std::nullopt;
  if (text.front() == '+') return offset;
  if (text.front() == '-') return -*offset;
  return std::nullopt;
}

void appendPadded(std::string& text, std::int64_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  if (digits.size() < width) text.append(width - digits.size(), '0');
  text += digits;
}

/// Adds the date of `day`. Its year may be beyond those of std::chrono, so it is looked up in the
/// first cycle from 1970 on.
void appendDate(std::string& text, sys_days day) {
  const auto cycles = std::chrono::floor<Cycles>(day.time_since_epoch());
  const std::chrono::year_month_day date{sys_days{day - cycles}};
  const std::int64_t year = static_cast<int>(date.year()) + cycles.count() * yearsOfCycle;
  if (year < 0) text += '-';
  appendPadded(text, year < 0 ? -year : year, 4);
  text += '-';
  appendPadded(text, static_cast<unsigned>(date.month()), 2);
  text += '-';
  appendPadded(text, static_cast<unsigned>(date.day()), 2);
}

}  // namespace

std::optional<Instant> parseISO8601(std::string_view text) {
  const auto localTime = parseLocalTime(text.substr(0, localTimeForm.size()));
  if (!localTime) return std::nullopt;
  const auto offset = parseZone(text.substr(localTimeForm.size()));
  if (!offset) return std::nullopt;
  const sys_seconds instant = *localTime - *offset;
  if (instant < firstDay || instant >= dayAfterLast) return std::nullopt;
  return instant;
}

std::string formatISO8601(Instant instant) {
  const auto second = std::chrono::floor<seconds>(instant);
  const auto day = std::chrono::floor<days>(second);
  const std::chrono::hh_mm_ss time{second - day};
  std::string text;
  appendDate(text, day);
  text += 'T';
  appendPadded(text, time.hours().count(), 2);
  text += ':';
  appendPadded(text, time.minutes().count(), 2);
  text += ':';
  appendPadded(text, time.seconds().count(), 2);
  text += 'Z';
  return text;
}

}  // namespace blindfold
