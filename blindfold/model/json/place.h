#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "blindfold/model/json/json_string.h"

namespace blindfold {

/// Where in a document a value stands: a step from the place around it. Places are linked from the
/// inside out and live on the stack of the decoding; they cost nothing until one is described.
class Place {
 public:
  /// The document itself.
  Place() = default;

  /// The field `name` of the record at `outer`, both of which must outlive this place.
  Place(const Place& outer, std::string_view name) : outer_(&outer), step_(name) {}

  /// The element `index` of the list at `outer`.
  Place(const Place& outer, std::size_t index) : outer_(&outer), step_(index) {}

  /// The value of `key` in the map at `outer`.
  Place(const Place& outer, const JSONString& key) : outer_(&outer), step_(key) {}

  /// The way from the document to here ("resolvedTargets[2].priority"), one line of valid UTF-8;
  /// "the document" for the document itself.
  std::string description() const;

 private:
  void appendTo(std::string& path) const;

  const Place* outer_ = nullptr;
  std::variant<std::string_view, std::size_t, JSONString> step_;
};

}  // namespace blindfold
