#include "blindfold/model/json/json_value.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/text/ascii.h"
#include "blindfold/text/enumeration_table.h"
#include "blindfold/text/one_line.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
constexpr EnumerationTable typeNames(&EnumerationText<JSONType>::value,
                                     {{JSONType::null, "null"},
                                      {JSONType::boolean, "a boolean"},
                                      {JSONType::number, "a number"},
                                      {JSONType::string, "a string"},
                                      {JSONType::array, "an array"},
                                      {JSONType::object, "an object"}});

/// The length of the excerpt in a syntax error's text.
constexpr std::size_t maximumExcerptLength = 16;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// Checks a JSON text from its first byte to its last. Every `scan` function starts at the
/// beginning of its construct and stops after its end, or throws.
class Scanner {
 public:
  /// A scanner that begins at `position`, within `depth` open arrays and objects.
  explicit Scanner(std::string_view text, std::size_t position = 0, std::size_t depth = 0)
      : text_(text), position_(position), outerDepth_(depth), depth_(depth) {}

  JSONValue scanDocument() {
    skipWhiteSpace();
    const std::size_t begin = position_;
    const std::size_t end = scanValue();
    skipWhiteSpace();
    if (!atEnd()) expected("the end of the text");
    return {text_.substr(begin, end - begin)};
  }

  /// Scans one value and returns the position after it.
  std::size_t scanValue() {
    beginValue();
    while (depth_ > outerDepth_) continueContainer();
    return position_;
  }

 private:
  bool atEnd() const { return position_ == text_.size(); }

  /// The next byte; at the end of the text NUL, which JSON allows nowhere.
  char peek() const { return atEnd() ? '\0' : text_[position_]; }

  bool skipIf(char character) {
    if (peek() != character) return false;
    ++position_;
    return true;
  }

  void skipWhiteSpace() {
    while (isWhiteSpace(peek())) ++position_;
  }

  /// Scans a scalar, or the opening bracket of an array or object.
  void beginValue() {
    switch (peek()) {
      case '{':
        return open('}');
      case '[':
        return open(']');
      case '"':
        return scanString();
      case 't':
        return scanLiteral("true");
      case 'f':
        return scanLiteral("false");
      case 'n':
        return scanLiteral("null");
      default:
        return scanNumber();
    }
  }

  void open(char closer) {
    if (depth_ == maximumNestingDepth) {
      fail("nested deeper than " + std::to_string(maximumNestingDepth) + " levels");
    }
    ++position_;
    closers_[depth_++] = closer;
    isJustOpened_ = true;
  }

  /// Scans the end of the innermost array or object, or the beginning of its next value.
  void continueContainer() {
    const char closer = closers_[depth_ - 1];
    skipWhiteSpace();
    const bool isFirst = std::exchange(isJustOpened_, false);
    if (skipIf(closer)) {
      --depth_;
      return;
    }
    if (!isFirst && !skipIf(',')) expected(closer == '}' ? "a comma or }" : "a comma or ]");
    skipWhiteSpace();
    if (closer == '}') scanKey();
    beginValue();
  }

  void scanKey() {
    if (peek() != '"') expected("a key");
    scanString();
    skipWhiteSpace();
    if (!skipIf(':')) expected("a colon");
    skipWhiteSpace();
  }

  void scanLiteral(std::string_view literal) {
    if (text_.substr(position_, literal.size()) != literal) expected(literal);
    position_ += literal.size();
  }

  void scanNumber() {
    if (!skipIf('-') && !isDigit(peek())) expected("a value");
    if (!skipIf('0')) scanDigits();
    if (skipIf('.')) scanDigits();
    if (skipIf('e') || skipIf('E')) {
      if (!skipIf('+')) skipIf('-');
      scanDigits();
    }
  }

  void scanDigits() {
    if (!isDigit(peek())) expected("a digit");
    while (isDigit(peek())) ++position_;
  }

  void scanString() {
    ++position_;
    for (;;) {
      position_ += plainStringLength(text_.substr(position_));
      if (skipIf('"')) return;
      if (atEnd()) expected("a quotation mark");
      scanCharacter();
    }
  }

  void scanCharacter() {
    if (peek() == '\\') return scanEscape();
    const CodePoint codePoint = readCodePoint(text_, position_);
    if (!codePoint.isValid) fail("invalid UTF-8");
    if (codePoint.value < U' ') fail("a control character that is not escaped");
    position_ += codePoint.length;
  }

  void scanEscape() {
    const auto escape = readJSONEscape(text_.substr(position_));
    if (!escape) fail("an invalid escape sequence");
    position_ += escape->length;
  }

  [[noreturn]] void expected(std::string_view what) const {
    fail("expected " + std::string(what) + ", found " + describeRest());
  }

  std::string describeRest() const {
    if (atEnd()) return "the end of the text";
    const std::string_view rest = text_.substr(position_);
    if (rest.starts_with(byteOrderMark)) return "a byte-order mark";
    return oneLineExcerpt(rest, maximumExcerptLength);
  }

  [[noreturn]] void fail(const std::string& error) const {
    throw DecodingError(DecodingError::Kind::dataCorrupted,
                        "invalid JSON at byte " + std::to_string(position_) + ": " + error);
  }

  std::string_view text_;
  std::size_t position_;
  std::size_t outerDepth_;
  std::size_t depth_;
  /// The closing bracket of each array and object that this scanner opened, by its depth.
  std::array<char, maximumNestingDepth> closers_;
  bool isJustOpened_ = false;
};

bool isBetweenValues(char character) {
  return isWhiteSpace(character) || character == ',' || character == ':';
}

bool endsScalar(char character) {
  return isBetweenValues(character) || character == ']' || character == '}';
}

/// The length of the string that `text` begins with, quotation marks included.
std::size_t lengthOfString(std::string_view text) {
  std::size_t position = 1;
  while (text[position] != '"') position += text[position] == '\\' ? 2 : 1;
  return position + 1;
}

/// The length of the array or object that `text` begins with. The brackets of a checked text match,
/// so counting them is enough.
std::size_t lengthOfContainer(std::string_view text) {
  std::size_t position = 0;
  std::size_t depth = 0;
  do {
    const char character = text[position];
    if (character == '[' || character == '{') ++depth;
    if (character == ']' || character == '}') --depth;
    position += character == '"' ? lengthOfString(text.substr(position)) : 1;
  } while (depth > 0);
  return position;
}

std::size_t lengthOfValue(std::string_view text) {
  switch (text.front()) {
    case '"':
      return lengthOfString(text);
    case '[':
    case '{':
      return lengthOfContainer(text);
    default:
      return static_cast<std::size_t>(std::find_if(text.begin(), text.end(), endsScalar) -
                                      text.begin());
  }
}

/// Removes what stands before the next value from `rest`, which ends with a closing bracket.
/// Returns whether a value is left.
bool skipToValue(std::string_view& rest) {
  while (isBetweenValues(rest.front())) rest.remove_prefix(1);
  return rest.front() != ']' && rest.front() != '}';
}

/// Removes the value that `rest` begins with.
JSONValue takeValue(std::string_view& rest) {
  const JSONValue value{rest.substr(0, lengthOfValue(rest))};
  rest.remove_prefix(value.text.size());
  return value;
}
}  // namespace

std::string_view nameOf(JSONType type) {
  return typeNames[type].text;
}

JSONType JSONValue::type() const {
  assert(!text.empty());
  switch (text.front()) {
    case 'n':
      return JSONType::null;
    case 't':
    case 'f':
      return JSONType::boolean;
    case '"':
      return JSONType::string;
    case '[':
      return JSONType::array;
    case '{':
      return JSONType::object;
    default:
      return JSONType::number;
  }
}

JSONValue scanJSON(std::string_view bytes) {
  return Scanner(bytes).scanDocument();
}

std::size_t checkValue(std::string_view text, std::size_t position, std::size_t depth) {
  return Scanner(text, position, depth).scanValue();
}

JSONElements::JSONElements(const JSONValue& array) : rest_(array.text.substr(1)) {
  assert(array.type() == JSONType::array);
}

std::optional<JSONValue> JSONElements::next() {
  if (!skipToValue(rest_)) return std::nullopt;
  return takeValue(rest_);
}

JSONMembers::JSONMembers(const JSONValue& object) : rest_(object.text.substr(1)) {
  assert(object.type() == JSONType::object);
}

std::optional<JSONMember> JSONMembers::next() {
  if (!skipToValue(rest_)) return std::nullopt;
  const JSONValue key = takeValue(rest_);
  skipToValue(rest_);
  return JSONMember{key.string(), takeValue(rest_)};
}

}  // namespace blindfold
