#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "blindfold/platform/dictionary_value.h"

namespace blindfold {

/// The entries of an information property list's dictionary, in the order of the list.
using InfoDictionary = std::vector<std::pair<std::string, DictionaryValue>>;

/// The value under `key`, the last of several; null when there is none.
const DictionaryValue* valueForKey(const InfoDictionary& dictionary, std::string_view key);

/// The number of levels on which the values of a property list may nest.
inline constexpr int maximumPropertyListNesting = 512;

/// The dictionary at the top of the XML property list `document`. Empty when another value is at
/// the top, and when the document is malformed anywhere: it must be well-formed XML 1.0 in UTF-8
/// (a byte-order mark may come first) whose document type declares nothing, its elements those of
/// a property list, in their places, without attributes but for plist's version, and each value in
/// its type's form. Takes linear time. Any thread may call.
InfoDictionary parsePropertyList(std::string_view document);

}  // namespace blindfold
