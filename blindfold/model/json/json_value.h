#pragma once

#include <optional>
#include <string_view>

#include "blindfold/model/json/json_string.h"

namespace blindfold {

enum class JSONType { null, boolean, number, string, array, object };

/// The type's name with its article, as texts for people use it ("a string").
std::string_view nameOf(JSONType type);

/// A value of a checked JSON text: the piece of the text that spells it, borrowed, without the
/// white space around it. Nothing is converted or stored until it is asked for, so a value costs no
/// memory whatever it holds; what holds many is read by `JSONElements` or `JSONMembers`.
struct JSONValue {
  std::string_view text;

  JSONType type() const;

  /// The boolean's value.
  bool boolean() const { return text.front() == 't'; }

  /// The string.
  JSONString string() const { return {text.substr(1, text.size() - 2)}; }
};

/// Reads the elements of an array in turn. Takes time linear in the length of the array.
class JSONElements {
 public:
  explicit JSONElements(const JSONValue& array);

  /// The next element, or nothing after the last.
  std::optional<JSONValue> next();

 private:
  std::string_view rest_;
};

struct JSONMember {
  JSONString key;
  JSONValue value;
};

/// Reads the members of an object in turn, equal keys and all. Takes time linear in the length of
/// the object.
class JSONMembers {
 public:
  explicit JSONMembers(const JSONValue& object);

  /// The next member, or nothing after the last.
  std::optional<JSONMember> next();

 private:
  std::string_view rest_;
};

}  // namespace blindfold
