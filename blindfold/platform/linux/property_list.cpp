#include "blindfold/platform/linux/property_list.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <variant>

#include "blindfold/platform/linux/text_cursor.h"
#include "blindfold/platform/linux/xml_reader.h"

namespace blindfold {
namespace {
constexpr CharacterSet base64Characters(
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");

TextCursor trimmed(std::string_view text) {
  while (!text.empty() && whiteSpace.contains(text.back())) text.remove_suffix(1);
  while (!text.empty() && whiteSpace.contains(text.front())) text.remove_prefix(1);
  return TextCursor(text);
}

bool isEmpty(std::string_view text) {
  return text.empty();
}

/// Decimal or, after "0x", hexadecimal, in the range of a 64-bit integer with or without sign.
bool isInteger(std::string_view text) {
  constexpr auto lowestMagnitude = std::uint64_t{1} << 63;
  TextCursor cursor = trimmed(text);
  const bool isNegative = cursor.take("-");
  if (!isNegative) cursor.take("+");
  const int base = cursor.take("0x") || cursor.take("0X") ? 16 : 10;
  const auto magnitude = numberOf(cursor.rest(), base);
  return magnitude && (!isNegative || *magnitude <= lowestMagnitude);
}

bool isReal(std::string_view text) {
  TextCursor cursor = trimmed(text);
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
  TextCursor first("0000-01-01T00:00:00Z");
  TextCursor last("9999-12-31T23:59:59Z");
  TextCursor cursor = trimmed(text);
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
  TextCursor cursor(characters);
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

/// Whether `text` is in the form of the opaque type `name`.
bool isValueOfType(std::string_view name, std::string_view text) {
  const auto type = std::find_if(opaqueTypes.begin(), opaqueTypes.end(),
                                 [&](const auto& each) { return each.first == name; });
  return type != opaqueTypes.end() && type->second(text);
}

/// The elements of a property list. Each operation reads one, and throws `MalformedDocument` where
/// it meets another.
class PropertyListParser {
 public:
  /// Borrows `text`.
  explicit PropertyListParser(std::string_view text) : xml_(text) {}

  /// Reads a document.
  InfoDictionary parse() {
    xml_.readProlog();
    xml_.readStartTagWithAttribute("plist", "version");
    const StartTag tag = xml_.readStartTag();
    InfoDictionary dictionary;
    if (tag.name == "dict") {
      dictionary = readDictionary(tag, 1);
    } else {
      readValue(tag, 1, /*isWanted=*/false);
    }
    xml_.skipMiscellany();
    xml_.readEndTag("plist");
    xml_.skipMiscellany();
    requireWellFormed(xml_.isAtEnd());
    return dictionary;
  }

  /// Reads the element of a value, within elements that nest `nesting` deep. `isWanted` tells
  /// whether a text is decoded or only checked; the value is opaque then.
  DictionaryValue readValue(int nesting, bool isWanted) {
    requireWellFormed(nesting < maximumPropertyListNesting);
    xml_.skipMiscellany();
    const auto text = xml_.readPlainElement("<string>", "</string>");
    if (!text) return readValue(xml_.readStartTag(), nesting + 1, isWanted);
    if (!isWanted) return OpaqueValue();
    return std::string(*text);
  }

 private:
  using StartTag = XMLReader::StartTag;

  DictionaryValue readValue(const StartTag& tag, int nesting, bool isWanted) {
    requireWellFormed(nesting <= maximumPropertyListNesting);
    if (tag.name == "array") return readArray(tag, nesting, isWanted);
    if (tag.name == "dict") {
      readDictionary(tag, nesting);
      return OpaqueValue();
    }
    const PropertyListText text = readContent(tag);
    if (tag.name != "string") {
      requireWellFormed(isValueOfType(tag.name, text.decoded()));
    } else if (isWanted) {
      return text.decoded();
    }
    return OpaqueValue();
  }

  InfoDictionary readDictionary(const StartTag& tag, int nesting) {
    constexpr std::size_t usualCount = 16;
    InfoDictionary dictionary;
    if (!tag.isEmpty) dictionary.reserve(usualCount);
    while (!xml_.isAtEndOf(tag)) {
      const PropertyListText key = readKey();
      const std::string_view rest = xml_.rest();
      readValue(nesting, /*isWanted=*/false);
      dictionary.emplace_back(key, xml_.readSince(rest));
    }
    return dictionary;
  }

  PropertyListText readKey() {
    xml_.skipMiscellany();
    if (const auto key = xml_.readPlainElement("<key>", "</key>")) return {*key, /*isPlain=*/true};
    const StartTag tag = xml_.readStartTag();
    requireWellFormed(tag.name == "key");
    return readContent(tag);
  }

  ValueArray readArray(const StartTag& tag, int nesting, bool isWanted) {
    ValueArray array;
    while (!xml_.isAtEndOf(tag)) {
      auto value = readValue(nesting, isWanted);
      auto* const text = std::get_if<std::string>(&value);
      array.push_back(text != nullptr ? std::optional(std::move(*text)) : std::nullopt);
    }
    return array;
  }

  PropertyListText readContent(const StartTag& tag) {
    if (tag.isEmpty) return {"", /*isPlain=*/true};
    const std::string_view rest = xml_.rest();
    const bool isPlain = xml_.readText(nullptr);
    const PropertyListText text(xml_.readSince(rest), isPlain);
    xml_.readEndTag(tag.name);
    return text;
  }

  XMLReader xml_;
};
}  // namespace

std::string PropertyListText::decoded() const {
  if (isPlain_) return std::string(source_);
  const std::string_view sourceAndBracket(source_.data(), source_.size() + 1);
  std::string text;
  XMLReader(sourceAndBracket).readText(&text);
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
  } catch (const MalformedDocument&) {
    return {};
  }
}

}  // namespace blindfold
