#include "blindfold/platform/linux/property_list.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "blindfold/platform/linux/xml_reader.h"

namespace blindfold {
namespace {

constexpr std::string_view decimalDigits = "0123456789";
constexpr std::string_view whiteSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
  return text.substr(0, text.find_last_not_of(whiteSpace) + 1);
}

bool takeOneOf(std::string_view& text, std::string_view characters) {
  if (text.empty() || characters.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

bool takeDigits(std::string_view& text) {
  const auto count = std::min(text.find_first_not_of(decimalDigits), text.size());
  text.remove_prefix(count);
  return count > 0;
}

// Decimal or, after "0x", hexadecimal, and in the range of a 64-bit integer with or without sign.
bool isInteger(std::string_view text) {
  constexpr auto lowestMagnitude = std::uint64_t{1} << 63;
  text = trimmed(text);
  const bool isNegative = text.starts_with('-');
  takeOneOf(text, "+-");
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (isHexadecimal) text.remove_prefix(2);
  std::uint64_t magnitude = 0;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  const auto [stop, error] = std::from_chars(begin, end, magnitude, isHexadecimal ? 16 : 10);
  return error == std::errc() && stop == end && (!isNegative || magnitude <= lowestMagnitude);
}

bool isReal(std::string_view text) {
  text = trimmed(text);
  takeOneOf(text, "+-");
  if (!takeDigits(text)) return false;
  if (takeOneOf(text, ".")) takeDigits(text);
  if (takeOneOf(text, "eE")) {
    takeOneOf(text, "+-");
    if (!takeDigits(text)) return false;
  }
  return text.empty();
}

// A time in UTC to the second: 2001-01-01T00:00:00Z.
bool isDate(std::string_view text) {
  struct Field {
    std::size_t digits;
    int first;
    int last;
    char delimiter;
  };
  constexpr std::array<Field, 6> fields{{
      {4, 0, 9999, '-'},
      {2, 1, 12, '-'},
      {2, 1, 31, 'T'},
      {2, 0, 23, ':'},
      {2, 0, 59, ':'},
      {2, 0, 59, 'Z'},
  }};
  text = trimmed(text);
  for (const auto& field : fields) {
    std::string_view rest = text;
    rest.remove_prefix(std::min(field.digits, rest.size()));
    int value = 0;
    while (text.size() > rest.size()) {
      const auto digit = decimalDigits.find(text.front());
      if (digit == std::string_view::npos) return false;
      value = value * 10 + static_cast<int>(digit);
      text.remove_prefix(1);
    }
    if (value < field.first || value > field.last) return false;
    if (!takeOneOf(text, {&field.delimiter, 1})) return false;
  }
  return text.empty();
}

// Base64, with white space anywhere.
bool isData(std::string_view text) {
  constexpr std::string_view alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::size_t characters = 0;
  std::size_t padding = 0;
  for (const char each : text) {
    if (whiteSpace.find(each) != std::string_view::npos) continue;
    ++characters;
    if (each == '=') {
      ++padding;
    } else if (padding > 0 || alphabet.find(each) == std::string_view::npos) {
      return false;
    }
  }
  return characters % 4 == 0 && padding <= 2;
}

// The types whose values this program never reads, but which must be in their form all the same.
struct OpaqueType {
  std::string_view name;
  bool (*isValid)(std::string_view text);
};

bool isNothing(std::string_view text) {
  return text.empty();
}

constexpr std::array<OpaqueType, 6> opaqueTypes{{
    {"integer", isInteger},
    {"real", isReal},
    {"true", isNothing},
    {"false", isNothing},
    {"date", isDate},
    {"data", isData},
}};

bool isEndOf(const XMLTag& tag, std::string_view name) {
  return tag.kind == XMLTag::Kind::end && tag.name == name;
}

bool isStartWithoutAttributes(const XMLTag& tag) {
  return tag.kind == XMLTag::Kind::start && tag.attributeNames.empty();
}

bool isPropertyListStart(const XMLTag& tag) {
  const std::vector<std::string_view> attributes{"version"};
  return tag.kind == XMLTag::Kind::start && tag.name == "plist" &&
         (tag.attributeNames.empty() || tag.attributeNames == attributes);
}

// Reads a property list as its elements stand in each other. A value is read from behind its start
// tag, `name` being the tag's.
class PropertyListParser {
 public:
  explicit PropertyListParser(std::string_view document) : reader_(document) {}

  InfoDictionary parse() {
    if (!isPropertyListStart(reader_.nextTag())) throw MalformedXML();
    InfoDictionary dictionary;
    const std::string_view name = nextValueStart();
    if (name == "dict") {
      dictionary = readDictionary(1);
    } else {
      readValue(name, 1);
    }
    expectEndOf("plist");
    reader_.expectEnd();
    return dictionary;
  }

 private:
  DictionaryValue readValue(std::string_view name, int nesting) {
    if (nesting > maximumPropertyListNesting) throw MalformedXML();
    if (name == "array") return readArray(nesting);
    if (name == "dict") {
      readDictionary(nesting);
      return OpaqueValue();
    }
    std::string text = readText(name);
    if (name == "string") return text;
    const auto type = std::find_if(opaqueTypes.begin(), opaqueTypes.end(),
                                   [&](const auto& each) { return each.name == name; });
    if (type == opaqueTypes.end() || !type->isValid(text)) throw MalformedXML();
    return OpaqueValue();
  }

  InfoDictionary readDictionary(int nesting) {
    InfoDictionary dictionary;
    for (;;) {
      const XMLTag tag = reader_.nextTag();
      if (isEndOf(tag, "dict")) return dictionary;
      if (!isStartWithoutAttributes(tag) || tag.name != "key") throw MalformedXML();
      std::string key = readText(tag.name);
      dictionary.insert_or_assign(std::move(key), readValue(nextValueStart(), nesting + 1));
    }
  }

  ValueArray readArray(int nesting) {
    ValueArray array;
    for (;;) {
      const XMLTag tag = reader_.nextTag();
      if (isEndOf(tag, "array")) return array;
      if (!isStartWithoutAttributes(tag)) throw MalformedXML();
      auto value = readValue(tag.name, nesting + 1);
      auto* const text = std::get_if<std::string>(&value);
      array.push_back(text != nullptr ? std::optional(std::move(*text)) : std::nullopt);
    }
  }

  std::string readText(std::string_view name) {
    std::string text = reader_.text();
    expectEndOf(name);
    return text;
  }

  std::string_view nextValueStart() {
    const XMLTag tag = reader_.nextTag();
    if (!isStartWithoutAttributes(tag)) throw MalformedXML();
    return tag.name;
  }

  void expectEndOf(std::string_view name) {
    if (!isEndOf(reader_.nextTag(), name)) throw MalformedXML();
  }

  XMLReader reader_;
};

}  // namespace

InfoDictionary parsePropertyList(std::string_view document) {
  try {
    return PropertyListParser(document).parse();
  } catch (const MalformedXML&) {
    return {};
  }
}

}  // namespace blindfold
