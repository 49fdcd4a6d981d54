#include "blindfold/model/json/scanner.h"

#include <array>
#include <string>
#include <utility>

#include "blindfold/model/json/decoding_error.h"
#include "blindfold/model/json/white_space.h"
#include "blindfold/text/ascii.h"
#include "blindfold/text/one_line.h"
#include "blindfold/text/utf8.h"

namespace blindfold {

namespace {

/// Of what stands in the place of something else, a text for people shows so many bytes.
constexpr std::size_t lengthOfExcerpt = 16;

/// Walks over a JSON text from its first byte to its last. Every `scan` function begins at what it
/// is to scan and ends behind it, or throws.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  JSONValue scanDocument() {
    skipWhiteSpace();
    const std::size_t begin = position_;
    beginValue();
    while (depth_ > 0) continueContainer();
    const std::size_t end = position_;
    skipWhiteSpace();
    if (!atEnd()) expected("the end of the text");
    return {text_.substr(begin, end - begin)};
  }

 private:
  bool atEnd() const { return position_ == text_.size(); }

  /// The next byte; at the end of the text NUL, which JSON has a place for nowhere.
  char peek() const { return atEnd() ? '\0' : text_[position_]; }

  bool skipIf(char character) {
    if (peek() != character) return false;
    ++position_;
    return true;
  }

  void skipWhiteSpace() {
    while (isWhiteSpace(peek())) ++position_;
  }

  /// Scans a value if it is a scalar, and only its opening bracket if it is not.
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

  /// Within an array or object: closes it, or goes on to its next value.
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
    while (!skipIf('"')) {
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
    const std::string found =
        atEnd() ? "the end of the text" : oneLineExcerpt(text_.substr(position_), lengthOfExcerpt);
    fail("expected " + std::string(what) + ", found " + found);
  }

  [[noreturn]] void fail(const std::string& trouble) const {
    throw DecodingError(DecodingError::Kind::dataCorrupted,
                        "invalid JSON at byte " + std::to_string(position_) + ": " + trouble);
  }

  std::string_view text_;
  std::size_t position_ = 0;
  /// What will close each of the arrays and objects that are open now, from the outside in.
  std::array<char, maximumNestingDepth> closers_{};
  std::size_t depth_ = 0;
  bool isJustOpened_ = false;
};

}  // namespace

JSONValue scanJSON(std::string_view bytes) {
  return Scanner(bytes).scanDocument();
}

}  // namespace blindfold
