#include "blindfold/platform/linux/property_list.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <system_error>
#include <variant>

#include "blindfold/text/plain_characters.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
struct MalformedPropertyList {};

void require(bool isWellFormed) {
  if (!isWellFormed) throw MalformedPropertyList();
}

class CharacterSet {
 public:
  consteval explicit CharacterSet(std::string_view characters) {
    for (const char each : characters) contains_[static_cast<unsigned char>(each)] = true;
  }
  bool contains(char each) const { return contains_[static_cast<unsigned char>(each)]; }

 private:
  std::array<bool, 256> contains_{};
};

constexpr CharacterSet whiteSpace(" \t\r\n");
constexpr CharacterSet decimalDigits("0123456789");
constexpr CharacterSet hexadecimalDigits("0123456789ABCDEFabcdef");
constexpr CharacterSet base64Characters(
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
/// Every name of a property list is ASCII.
constexpr CharacterSet nameCharacters(
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._:");
constexpr CharacterSet publicIdentifierCharacters(
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 \r\n-'()+,./:=?;!*#@$_%");

/// The rest of a text that is being read. Borrows the text.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : rest_(text) {}

  std::string_view rest() const { return rest_; }
  bool isAtEnd() const { return rest_.empty(); }

  bool take(std::string_view mark) {
    if (!rest_.starts_with(mark)) return false;
    rest_.remove_prefix(mark.size());
    return true;
  }

  /// Takes the literal `mark`. Its size is a constant, so comparing takes a few instructions.
  template <std::size_t size>
  bool take(const char (&mark)[size]) {
    constexpr std::size_t length = size - 1;
    if (rest_.size() < length || !std::equal(mark, mark + length, rest_.begin())) return false;
    rest_.remove_prefix(length);
    return true;
  }

  std::string_view takeCount(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return taken;
  }

  std::string_view takeWhile(const CharacterSet& set) {
    std::size_t count = 0;
    while (count < rest_.size() && set.contains(rest_[count])) ++count;
    return takeCount(count);
  }

  /// Takes the ASCII characters that stand for themselves in every text, lines of them.
  std::string_view takePlainText() {
    for (std::size_t count = 0;; ++count) {
      count += plainLength<'<', '&', ']'>(rest_.substr(count));
      const bool isPlainControl =
          count < rest_.size() && (rest_[count] == '\n' || rest_[count] == '\t');
      if (!isPlainControl) return takeCount(count);
    }
  }

 private:
  std::string_view rest_;
};

std::optional<std::uint64_t> numberOf(std::string_view digits, int base) {
  std::uint64_t value = 0;
  const char* const begin = digits.data();
  const char* const end = begin + digits.size();
  const auto [stop, error] = std::from_chars(begin, end, value, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

Cursor trimmed(std::string_view text) {
  while (!text.empty() && whiteSpace.contains(text.back())) text.remove_suffix(1);
  while (!text.empty() && whiteSpace.contains(text.front())) text.remove_prefix(1);
  return Cursor(text);
}

bool isEmpty(std::string_view text) {
  return text.empty();
}

/// Decimal or, after "0x", hexadecimal, in the range of a 64-bit integer with or without sign.
bool isInteger(std::string_view text) {
  constexpr auto lowestMagnitude = std::uint64_t{1} << 63;
  Cursor cursor = trimmed(text);
  const bool isNegative = cursor.take("-");
  if (!isNegative) cursor.take("+");
  const int base = cursor.take("0x") || cursor.take("0X") ? 16 : 10;
  const auto magnitude = numberOf(cursor.rest(), base);
  return magnitude && (!isNegative || *magnitude <= lowestMagnitude);
}

bool isReal(std::string_view text) {
  Cursor cursor = trimmed(text);
  if (!cursor.take("-")) cursor.take("+");
  if (cursor.takeWhile(decimalDigits).empty()) return false;
  if (cursor.take(".")) cursor.takeWhile(decimalDigits);
  if (cursor.take("e") || cursor.take("E")) {
    if (!cursor.take("-")) cursor.take("+");
    if (cursor.takeWhile(decimalDigits).empty()) return false;
  }
  return cursor.isAtEnd();
}

/// A time in UTC to the second (ISO 8601), each field between those of `first` and `last`.
bool isDate(std::string_view text) {
  Cursor first("0000-01-01T00:00:00Z");
  Cursor last("9999-12-31T23:59:59Z");
  Cursor cursor = trimmed(text);
  while (!first.isAtEnd()) {
    const auto lowest = first.takeWhile(decimalDigits);
    const auto highest = last.takeWhile(decimalDigits);
    const auto field = cursor.takeWhile(decimalDigits);
    if (field.size() != lowest.size() || field < lowest || field > highest) return false;
    last.takeCount(1);
    if (!cursor.take(first.takeCount(1))) return false;
  }
  return cursor.isAtEnd();
}

/// Base64 (RFC 4648) with white space anywhere.
bool isData(std::string_view text) {
  std::string characters(text);
  std::erase_if(characters, [](char each) { return whiteSpace.contains(each); });
  Cursor cursor(characters);
  cursor.takeWhile(base64Characters);
  const bool isPadded = cursor.rest() == "=" || cursor.rest() == "==";
  return characters.size() % 4 == 0 && (isPadded || cursor.isAtEnd());
}

/// The types whose values this program does not read, but which must be in their form.
constexpr auto opaqueTypes =
    std::to_array<std::pair<std::string_view, bool (*)(std::string_view)>>({
        {"integer", isInteger},
        {"real", isReal},
        {"true", isEmpty},
        {"false", isEmpty},
        {"date", isDate},
        {"data", isData},
    });

constexpr auto entities = std::to_array<std::pair<std::string_view, char32_t>>(
    {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}});

/// The value of the row of `name`.
auto valueNamed(std::string_view name, const auto& table) {
  const auto row = std::find_if(table.begin(), table.end(),
                                [&](const auto& each) { return each.first == name; });
  require(row != table.end());
  return row->second;
}

/// A character of XML 1.0.
bool isXMLCharacter(char32_t value) {
  if (value < 0x20) return value == '\t' || value == '\n' || value == '\r';
  const bool isSurrogate = value >= 0xd800 && value <= 0xdfff;
  return !isSurrogate && value != 0xfffe && value != 0xffff && value <= 0x10ffff;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
  const auto lower = [](char each) { return each >= 'A' && each <= 'Z' ? each | 0x20 : each; };
  return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                    [&](char left, char right) { return lower(left) == right; });
}

/// Takes one character, a line end as "\n".
std::string_view takeCharacter(Cursor& cursor) {
  if (cursor.take("\r")) {
    cursor.take("\n");
    return "\n";
  }
  const CodePoint character = readCodePoint(cursor.rest(), 0);
  require(character.isValid && isXMLCharacter(character.value));
  return cursor.takeCount(character.length);
}

/// Each operation reads one construct, and throws `MalformedPropertyList` where it meets another.
class PropertyListParser {
 public:
  /// Borrows `text`.
  explicit PropertyListParser(std::string_view text) : cursor_(text) {}

  /// Reads a document.
  InfoDictionary parse() {
    readProlog();
    readListTag();
    const StartTag tag = readStartTag();
    InfoDictionary dictionary;
    if (tag.name == "dict") {
      dictionary = readDictionary(tag, 1);
    } else {
      readValue(tag, 1, /*isWanted=*/false);
    }
    skipMiscellany();
    readEndTag("plist");
    skipMiscellany();
    require(cursor_.isAtEnd());
    return dictionary;
  }

  /// Reads the element of a value, within elements that nest `nesting` deep. `isWanted` tells
  /// whether a text is decoded or only checked; the value is opaque then.
  DictionaryValue readValue(int nesting, bool isWanted) {
    require(nesting < maximumPropertyListNesting);
    skipMiscellany();
    const auto text = takeShortForm("<string>", "</string>");
    if (!text) return readValue(readStartTag(), nesting + 1, isWanted);
    if (!isWanted) return OpaqueValue();
    return text->decoded();
  }

  /// Reads the characters up to the next tag and appends them to `text`, with references replaced,
  /// unless it is null. Returns whether they stand for themselves.
  bool readText(std::string* text) {
    const auto append = [text](std::string_view characters) {
      if (text != nullptr) *text += characters;
    };
    for (bool isPlain = true;; isPlain = false) {
      append(cursor_.takePlainText());
      require(!cursor_.isAtEnd());
      const char next = cursor_.rest().front();
      if (next == '&') {
        append(encodeUTF8(readReference()).text());
      } else if (next != '<') {
        require(!cursor_.rest().starts_with("]]>"));
        append(takeCharacter(cursor_));
      } else if (cursor_.take("<![CDATA[")) {
        Cursor section(readThrough("]]>"));
        while (!section.isAtEnd()) append(takeCharacter(section));
      } else if (!skipCommentOrInstruction()) {
        return isPlain;
      }
    }
  }

 private:
  struct StartTag {
    std::string_view name;
    bool isEmpty;  ///< An element without content: "<true/>".
  };

  void readProlog() {
    cursor_.take("\xef\xbb\xbf");
    Cursor declaration = cursor_;
    if (declaration.take("<?xml") && !declaration.takeWhile(whiteSpace).empty()) readDeclaration();
    skipMiscellany();
    if (cursor_.take("<!DOCTYPE")) readDocumentType();
    skipMiscellany();
  }

  void readDeclaration() {
    read("<?xml");
    Cursor version(readAttribute("version").value_or(""));
    require(version.take("1.") && !version.takeWhile(decimalDigits).empty() && version.isAtEnd());
    require(equalsIgnoringCase(readAttribute("encoding").value_or("utf-8"), "utf-8"));
    const auto standalone = readAttribute("standalone").value_or("no");
    require(standalone == "yes" || standalone == "no");
    readAfterWhiteSpace("?>");
  }

  /// The rest of a document type: a name, and optionally an external identifier.
  void readDocumentType() {
    readWhiteSpace();
    readName();
    cursor_.takeWhile(whiteSpace);
    const bool isPublic = cursor_.take("PUBLIC");
    if (isPublic) {
      readWhiteSpace();
      Cursor identifier(readLiteral());
      identifier.takeWhile(publicIdentifierCharacters);
      require(identifier.isAtEnd());
    }
    if (isPublic || cursor_.take("SYSTEM")) {
      readWhiteSpace();
      readLiteral();
    }
    readAfterWhiteSpace(">");
  }

  void readListTag() {
    read("<plist");
    const auto version = readAttribute("version").value_or("");
    require(version.find('<') == std::string_view::npos);
    for (auto at = version.find('&'); at != std::string_view::npos;
         at = version.find('&', at + 1)) {
      PropertyListParser(version.substr(at)).readReference();
    }
    readAfterWhiteSpace(">");
  }

  DictionaryValue readValue(const StartTag& tag, int nesting, bool isWanted) {
    require(nesting <= maximumPropertyListNesting);
    if (tag.name == "array") return readArray(tag, nesting, isWanted);
    if (tag.name == "dict") {
      readDictionary(tag, nesting);
      return OpaqueValue();
    }
    const PropertyListText text = readContent(tag);
    if (tag.name != "string") {
      require(valueNamed(tag.name, opaqueTypes)(text.decoded()));
    } else if (isWanted) {
      return text.decoded();
    }
    return OpaqueValue();
  }

  InfoDictionary readDictionary(const StartTag& tag, int nesting) {
    constexpr std::size_t usualCount = 16;
    InfoDictionary dictionary;
    if (!tag.isEmpty) dictionary.reserve(usualCount);
    while (!isAtEndOf(tag)) {
      const PropertyListText key = readKey();
      const std::string_view rest = cursor_.rest();
      readValue(nesting, /*isWanted=*/false);
      dictionary.emplace_back(key, takenFrom(rest));
    }
    return dictionary;
  }

  PropertyListText readKey() {
    skipMiscellany();
    if (const auto key = takeShortForm("<key>", "</key>")) return *key;
    const StartTag tag = readStartTag();
    require(tag.name == "key");
    return readContent(tag);
  }

  /// Takes an element that has the shortest tags around plain text, as nearly all have: what
  /// `readStartTag` and `readContent` would read, at a third of the cost. `std::nullopt` when
  /// another is next.
  template <std::size_t startSize, std::size_t endSize>
  std::optional<PropertyListText> takeShortForm(const char (&start)[startSize],
                                                const char (&end)[endSize]) {
    Cursor cursor = cursor_;
    if (!cursor.take(start)) return std::nullopt;
    const PropertyListText text(cursor.takePlainText(), /*isPlain=*/true);
    if (!cursor.take(end)) return std::nullopt;
    cursor_ = cursor;
    return text;
  }

  ValueArray readArray(const StartTag& tag, int nesting, bool isWanted) {
    ValueArray array;
    while (!isAtEndOf(tag)) {
      auto value = readValue(nesting, isWanted);
      auto* const text = std::get_if<std::string>(&value);
      array.push_back(text != nullptr ? std::optional(std::move(*text)) : std::nullopt);
    }
    return array;
  }

  PropertyListText readContent(const StartTag& tag) {
    if (tag.isEmpty) return {"", /*isPlain=*/true};
    const std::string_view rest = cursor_.rest();
    const bool isPlain = readText(nullptr);
    const PropertyListText text(takenFrom(rest), isPlain);
    readEndTag(tag.name);
    return text;
  }

  /// The part of `rest`, an earlier rest of the text, that has been taken since.
  std::string_view takenFrom(std::string_view rest) const {
    return rest.substr(0, rest.size() - cursor_.rest().size());
  }

  StartTag readStartTag() {
    skipMiscellany();
    read("<");
    const auto name = readName();
    cursor_.takeWhile(whiteSpace);
    const bool isEmpty = cursor_.take("/");
    read(">");
    return {name, isEmpty};
  }

  void readEndTag(std::string_view name) {
    read("</");
    read(name);
    readAfterWhiteSpace(">");
  }

  /// Whether the element that `tag` starts has no more elements; its end tag is then read.
  bool isAtEndOf(const StartTag& tag) {
    if (tag.isEmpty) return true;
    skipMiscellany();
    if (!cursor_.rest().starts_with("</")) return false;
    readEndTag(tag.name);
    return true;
  }

  char32_t readReference() {
    read("&");
    const bool isNumber = cursor_.take("#");
    const int base = isNumber && cursor_.take("x") ? 16 : 10;
    const auto name = cursor_.takeWhile(isNumber ? hexadecimalDigits : nameCharacters);
    read(";");
    if (!isNumber) return valueNamed(name, entities);
    const auto value =
        static_cast<char32_t>(std::min(numberOf(name, base).value_or(0), 0x110000UL));
    require(isXMLCharacter(value));
    return value;
  }

  /// The literal of the attribute `name`; `std::nullopt` when something else is next.
  std::optional<std::string_view> readAttribute(std::string_view name) {
    Cursor attribute = cursor_;
    if (attribute.takeWhile(whiteSpace).empty() || !attribute.take(name)) return std::nullopt;
    cursor_ = attribute;
    readAfterWhiteSpace("=");
    cursor_.takeWhile(whiteSpace);
    return readLiteral();
  }

  /// Skips white space, comments and processing instructions.
  void skipMiscellany() {
    do {
      cursor_.takeWhile(whiteSpace);
    } while (skipCommentOrInstruction());
  }

  bool skipCommentOrInstruction() {
    if (cursor_.take("<!--")) {
      readThrough("--");
      read(">");
      return true;
    }
    if (!cursor_.take("<?")) return false;
    require(!equalsIgnoringCase(readName(), "xml"));
    if (cursor_.take("?>")) return true;
    readWhiteSpace();
    readThrough("?>");
    return true;
  }

  std::string_view readName() {
    const auto name = cursor_.takeWhile(nameCharacters);
    require(!name.empty() && name.front() != '-' && name.front() != '.');
    require(!decimalDigits.contains(name.front()));
    return name;
  }

  /// A text in quotation marks of either kind.
  std::string_view readLiteral() {
    if (cursor_.take("'")) return readThrough("'");
    read("\"");
    return readThrough("\"");
  }

  /// Everything up to `mark`, which is read as well.
  std::string_view readThrough(std::string_view mark) {
    const auto count = cursor_.rest().find(mark);
    require(count != std::string_view::npos);
    const auto characters = cursor_.takeCount(count);
    Cursor unchecked(characters);
    unchecked.takePlainText();
    require(isValidUTF8(unchecked.rest(), isXMLCharacter));
    read(mark);
    return characters;
  }

  void readWhiteSpace() { require(!cursor_.takeWhile(whiteSpace).empty()); }

  void readAfterWhiteSpace(const auto& mark) {
    cursor_.takeWhile(whiteSpace);
    read(mark);
  }

  void read(const auto& mark) { require(cursor_.take(mark)); }

  Cursor cursor_;
};
}  // namespace

std::string PropertyListText::decoded() const {
  if (isPlain_) return std::string(source_);
  const std::string_view sourceAndBracket(source_.data(), source_.size() + 1);
  std::string text;
  PropertyListParser(sourceAndBracket).readText(&text);
  return text;
}

bool PropertyListText::operator==(std::string_view text) const {
  return isPlain_ ? source_ == text : decoded() == text;
}

DictionaryValue PropertyListEntry::value() const {
  return PropertyListParser(value_).readValue(/*nesting=*/0, /*isWanted=*/true);
}

std::optional<DictionaryValue> valueForKey(const InfoDictionary& dictionary, std::string_view key) {
  const auto entry = std::find_if(dictionary.rbegin(), dictionary.rend(),
                                  [&](const auto& each) { return each.key() == key; });
  return entry == dictionary.rend() ? std::nullopt : std::optional(entry->value());
}

InfoDictionary parsePropertyList(std::string_view document) {
  try {
    return PropertyListParser(document).parse();
  } catch (const MalformedPropertyList&) {
    return {};
  }
}

}  // namespace blindfold
