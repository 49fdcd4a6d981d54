#pragma once

#include <cassert>
#include <cstddef>
#include <optional>
#include <string_view>

#include "blindfold/model/json/json_string.h"

namespace blindfold {

enum class JSONType { null, boolean, number, string, array, object };

/// The type's name in error texts, with its article ("a string").
std::string_view nameOf(JSONType type);

/// A value of a checked JSON text: the part of the text that spells it, borrowed, without the white
/// space around it. Nothing is converted or stored before it is asked for, so a value takes the
/// same memory whatever it holds. Arrays are read by `JSONElements`, objects by `JSONMembers`.
struct JSONValue {
  std::string_view text;

  JSONType type() const;

  /// The value of a boolean, which this must be.
  bool boolean() const {
    assert(type() == JSONType::boolean);
    return text.front() == 't';
  }

  /// The string, which this must be.
  JSONString string() const {
    assert(type() == JSONType::string);
    return {text.substr(1, text.size() - 2)};
  }
};

/// The nesting depth up to which a text is accepted.
inline constexpr std::size_t maximumNestingDepth = 512;

/// Checks `bytes` and returns their one value, which borrows from them. They must be strict JSON
/// (RFC 8259) in valid UTF-8 without a byte-order mark and without unpaired surrogates, nested no
/// deeper than `maximumNestingDepth`. Throws `DecodingError` (data corrupted) that names the byte
/// at which they are not.
JSONValue scanJSON(std::string_view bytes);

/// Checks the value at `position` of `text`, within `depth` open arrays and objects, and returns
/// the position after it. Throws like `scanJSON`.
std::size_t checkValue(std::string_view text, std::size_t position, std::size_t depth);

/// An iterator over the elements of an array. Takes time linear in the length of the array.
class JSONElements {
 public:
  /// `array` must be an array.
  explicit JSONElements(const JSONValue& array);

  /// Returns the next element, or `std::nullopt` after the last.
  std::optional<JSONValue> next();

 private:
  std::string_view rest_;
};

struct JSONMember {
  JSONString key;
  JSONValue value;
};

/// An iterator over the members of an object, members with equal keys included. Takes time linear
/// in the length of the object.
class JSONMembers {
 public:
  /// `object` must be an object.
  explicit JSONMembers(const JSONValue& object);

  /// Returns the next member, or `std::nullopt` after the last.
  std::optional<JSONMember> next();

 private:
  std::string_view rest_;
};

}  // namespace blindfold
