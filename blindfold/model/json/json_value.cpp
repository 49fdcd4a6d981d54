#include "blindfold/model/json/json_value.h"

#include <algorithm>
#include <cstddef>

#include "blindfold/model/json/white_space.h"

namespace blindfold {

namespace {

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

/// The length of the array or object that `text` begins with. Its brackets match, so it is enough
/// to count them.
std::size_t lengthOfContainer(std::string_view text) {
  std::size_t position = 0;
  std::size_t depth = 0;
  do {
    const char character = text[position];
    if (character == '"') {
      position += lengthOfString(text.substr(position));
      continue;
    }
    if (character == '[' || character == '{') ++depth;
    if (character == ']' || character == '}') --depth;
    ++position;
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

/// Takes the value that comes next off `rest`, which ends with a closing bracket; nothing when that
/// is all that is left.
std::optional<JSONValue> takeValue(std::string_view& rest) {
  while (isBetweenValues(rest.front())) rest.remove_prefix(1);
  if (rest.front() == ']' || rest.front() == '}') return std::nullopt;
  const JSONValue value{rest.substr(0, lengthOfValue(rest))};
  rest.remove_prefix(value.text.size());
  return value;
}

}  // namespace

std::string_view nameOf(JSONType type) {
  switch (type) {
    case JSONType::null:
      return "null";
    case JSONType::boolean:
      return "a boolean";
    case JSONType::number:
      return "a number";
    case JSONType::string:
      return "a string";
    case JSONType::array:
      return "an array";
    case JSONType::object:
      return "an object";
  }
  return {};
}

JSONType JSONValue::type() const {
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

JSONElements::JSONElements(const JSONValue& array) : rest_(array.text.substr(1)) {}

std::optional<JSONValue> JSONElements::next() {
  return takeValue(rest_);
}

JSONMembers::JSONMembers(const JSONValue& object) : rest_(object.text.substr(1)) {}

std::optional<JSONMember> JSONMembers::next() {
  const auto key = takeValue(rest_);
  if (!key) return std::nullopt;
  const auto value = takeValue(rest_);
  if (!value) return std::nullopt;
  return JSONMember{key->string(), *value};
}

}  // namespace blindfold
