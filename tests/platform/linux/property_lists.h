#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "blindfold/platform/linux/property_list.h"

namespace blindfold {

/// The entries of a property list's dictionary, decoded.
using PropertyListEntries = std::vector<std::pair<std::string, DictionaryValue>>;

inline PropertyListEntries entriesOf(const std::string& document) {
  PropertyListEntries entries;
  for (const PropertyListEntry& entry : parsePropertyList(document)) {
    entries.emplace_back(entry.key().decoded(), entry.value());
  }
  return entries;
}

/// The XML declaration and the document type of most lists.
inline const std::string propertyListProlog =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n";

/// A list with the entries `entries` in the dictionary at its top.
inline std::string listOf(std::string_view entries) {
  return propertyListProlog + "<plist version=\"1.0\"><dict>" + std::string(entries) +
         "</dict></plist>\n";
}

/// A list with the value `value` under the key "k" of its dictionary.
inline std::string listWith(std::string_view value) {
  return listOf("<key>k</key>" + std::string(value));
}

/// The value of `listWith(value)` under the key "k"; absent when the list is malformed.
inline std::optional<DictionaryValue> parsedValue(std::string_view value) {
  const std::string document = listWith(value);
  return valueForKey(parsePropertyList(document), "k");
}

inline bool isMalformed(std::string_view document) {
  return parsePropertyList(document).empty();
}

/// `part` `count` times.
inline std::string repeated(int count, std::string_view part) {
  std::string text;
  for (; count > 0; --count) text += part;
  return text;
}

}  // namespace blindfold
