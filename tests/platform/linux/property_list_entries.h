#pragma once

#include <string>
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

}  // namespace blindfold
