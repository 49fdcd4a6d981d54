#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "blindfold/model/json/json_value.h"

namespace blindfold {

/// The path from a document to a value in it, for error texts. A path refers to that of the
/// enclosing value, which must outlive it; making one allocates nothing.
class CodingPath {
 public:
  /// The path of the document itself.
  CodingPath() = default;

  /// The path of the field `name`, which must outlive the path, of the record at `outer`.
  CodingPath(const CodingPath& outer, std::string_view name) : outer_(&outer), step_(name) {}

  /// The path of the element `index` of the list at `outer`.
  CodingPath(const CodingPath& outer, std::size_t index) : outer_(&outer), step_(index) {}

  /// The path of the value of `key` in the map at `outer`.
  CodingPath(const CodingPath& outer, const JSONString& key) : outer_(&outer), step_(key) {}

  /// The steps from the outermost in ("resolvedTargets[2].priority"), one line of valid UTF-8;
  /// "the document" for the document itself.
  std::string description() const;

 private:
  void appendTo(std::string& text) const;

  const CodingPath* outer_ = nullptr;
  std::variant<std::string_view, std::size_t, JSONString> step_;
};

/// The string as spelled in its JSON text, with its quotation marks, made one line and cut short
/// for an error text.
std::string excerpt(const JSONString& string);

/// The text of `value`, made one line and cut short for an error text.
std::string excerpt(const JSONValue& value);

}  // namespace blindfold
