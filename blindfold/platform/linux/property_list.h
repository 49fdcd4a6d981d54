#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "blindfold/platform/dictionary_value.h"

namespace blindfold {

/// What an information property list says, key by key.
using InfoDictionary = std::map<std::string, DictionaryValue, std::less<>>;

/// How deep the values of a property list may stand in each other.
inline constexpr int maximumPropertyListNesting = 512;

/// The dictionary at the top of the XML property list `document`; of equal keys the last counts.
/// Empty when there is another value at the top, and when the document is malformed anywhere: it
/// must be well-formed XML in UTF-8 without declarations of its own, have the elements of a
/// property list in their places, without attributes but for plist's version, and every value in
/// its type's form. Takes linear time; any thread may call.
InfoDictionary parsePropertyList(std::string_view document);

}  // namespace blindfold
