#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace blindfold {

/// A value of a platform dictionary that is neither text nor an array: a number, a date or a
/// dictionary, which this program never reads.
struct OpaqueValue {
  bool operator==(const OpaqueValue&) const = default;
};

/// An array of a platform dictionary; an element that is not text is absent.
using ValueArray = std::vector<std::optional<std::string>>;

/// A value of a platform dictionary (an info dictionary, a code signature's information), with the
/// types that this program's rules distinguish. Texts are UTF-8.
using DictionaryValue = std::variant<OpaqueValue, std::string, ValueArray>;

/// The text of `value`, or null when it is absent or not text. Points into `value`.
inline const std::string* textOf(const std::optional<DictionaryValue>& value) {
  return value ? std::get_if<std::string>(&*value) : nullptr;
}

}  // namespace blindfold
