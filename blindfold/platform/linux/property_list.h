#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/platform/dictionary_value.h"

namespace blindfold {

/// A text of a property list as it stands in the document, which it borrows. It has been checked.
class PropertyListText {
 public:
  /// `source` is followed by a tag. `isPlain` tells whether its characters stand for themselves.
  PropertyListText(std::string_view source, bool isPlain) : source_(source), isPlain_(isPlain) {}

  std::string decoded() const;
  bool operator==(std::string_view text) const;

 private:
  std::string_view source_;
  bool isPlain_;
};

/// An entry of a property list's dictionary. A run of the tool asks for few values, so one is
/// decoded when it is asked for. Borrows the document.
class PropertyListEntry {
 public:
  /// `value` is the value's element.
  PropertyListEntry(PropertyListText key, std::string_view value) : key_(key), value_(value) {}

  const PropertyListText& key() const { return key_; }
  DictionaryValue value() const;

 private:
  PropertyListText key_;
  std::string_view value_;
};

/// The entries of an information property list's dictionary, in the order of the list.
using InfoDictionary = std::vector<PropertyListEntry>;

/// The value under `key`, the last of several; `std::nullopt` when there is none.
std::optional<DictionaryValue> valueForKey(const InfoDictionary& dictionary, std::string_view key);

/// The number of levels on which the values of a property list may nest.
inline constexpr int maximumPropertyListNesting = 512;

/// The dictionary at the top of the XML property list `document`, which it borrows. Empty when
/// another value is at the top, and when the document is malformed anywhere: it must be well-formed
/// XML 1.0 in UTF-8 (a byte-order mark may come first) whose document type declares nothing, its
/// elements those of a property list, in their places, without attributes but for plist's version,
/// and each value in its type's form. Takes linear time. Any thread may call.
InfoDictionary parsePropertyList(std::string_view document);

}  // namespace blindfold
