#include "blindfold/model/json/single_pass_reader.h"

#include <utility>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/iso8601.h"
#include "blindfold/model/json/json_string.h"
#include "blindfold/model/json/json_value.h"
#include "blindfold/model/json/number.h"
#include "blindfold/text/utf8.h"

namespace blindfold {

bool SinglePassReader::read(bool& result) {
  result = peek() == 't';
  return takeLiteral(result ? "true" : "false");
}

bool SinglePassReader::read(std::int64_t& result) {
  if (takeShortInteger(result)) return true;
  std::string_view text;
  if (!takeNumber(text)) return false;
  const auto value = parseInteger(text);
  if (!value) return false;
  result = *value;
  return true;
}

bool SinglePassReader::read(double& result) {
  std::string_view text;
  if (!takeNumber(text)) return false;
  const auto value = parseDouble(text);
  if (!value) return false;
  result = *value;
  return true;
}

bool SinglePassReader::read(std::string& result) {
  std::string_view text;
  if (!takeText(text, result)) return false;
  if (text.data() != result.data()) result.assign(text);
  return true;
}

bool SinglePassReader::read(Instant& result) {
  std::string storage;
  std::string_view text;
  if (!takeText(text, storage)) return false;
  const auto value = parseISO8601(text);
  if (!value) return false;
  result = *value;
  return true;
}

bool SinglePassReader::takeText(std::string_view& text, std::string& storage) {
  if (!take('"')) return false;
  const std::string_view ahead = rest();
  const std::size_t length = plainStringLength(ahead);
  if (length == ahead.size() || ahead[length] != '"') return takeSpecialText(text, storage);
  text = ahead.substr(0, length);
  position_ += length + 1;
  return true;
}

bool SinglePassReader::takeSpecialText(std::string_view& text, std::string& storage) {
  const char* unescaped = position_;
  const auto takeUnescaped = [&] {
    return std::string_view(std::exchange(unescaped, position_), position_);
  };
  bool hasEscapes = false;
  for (;;) {
    position_ += plainStringLength(rest());
    if (peek() == '"') {
      text = takeUnescaped();
      if (hasEscapes) text = storage += text;
      return take('"');
    }
    if (peek() == '\\') {
      const auto escape = readJSONEscape(rest());
      if (!escape) return false;
      if (!hasEscapes) storage.clear();
      hasEscapes = true;
      storage += takeUnescaped();
      storage += encodeUTF8(escape->codePoint).text();
      position_ += escape->length;
      unescaped = position_;
      continue;
    }
    if (static_cast<unsigned char>(peek()) < ' ') return false;
    const CodePoint codePoint = readCodePoint(rest(), 0);
    if (!codePoint.isValid) return false;
    position_ += codePoint.length;
  }
}

bool SinglePassReader::takeShortInteger(std::int64_t& result) {
  constexpr std::size_t mostDigits = 18;  // never too large for 64 bits
  std::string_view text = rest();
  const bool isNegative = text.starts_with('-');
  if (isNegative) text.remove_prefix(1);
  std::size_t count = 0;
  std::int64_t magnitude = 0;
  while (count < text.size() && isDigit(text[count])) {
    if (count == mostDigits) return false;
    magnitude = magnitude * 10 + (text[count++] - '0');
  }
  const bool hasLeadingZero = count > 1 && text.front() == '0';
  const bool isOtherNumber =
      count < text.size() && std::string_view(".eE").find(text[count]) != std::string_view::npos;
  if (count == 0 || hasLeadingZero || isOtherNumber) return false;
  result = isNegative ? -magnitude : magnitude;
  position_ += count + (isNegative ? 1 : 0);
  return true;
}

bool SinglePassReader::takeNumber(std::string_view& text) {
  const char* const begin = position_;
  const auto takeDigits = [this] {
    const char* const first = position_;
    while (isDigit(peek())) ++position_;
    return position_ > first;
  };
  take('-');
  if (!take('0') && !takeDigits()) return false;
  if (take('.') && !takeDigits()) return false;
  if (take('e') || take('E')) {
    if (!take('+')) take('-');
    if (!takeDigits()) return false;
  }
  text = {begin, position_};
  return true;
}

bool SinglePassReader::skipValue() {
  const std::string_view text(begin_, static_cast<std::size_t>(end_ - begin_));
  try {
    position_ = begin_ + checkValue(text, static_cast<std::size_t>(position_ - begin_), depth_);
    return true;
  } catch (const DecodingError&) {
    return false;
  }
}

}  // namespace blindfold
