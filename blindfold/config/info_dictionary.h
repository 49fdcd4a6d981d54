#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/platform/bundle.h"

namespace blindfold {

/// The text under `key` in `bundle`'s info dictionary, without white space at its ends. The
/// default, exactly as it is given, when there is no value, when the value is not a text, and when
/// nothing is left of it. Never fails.
std::string readInfoString(const Bundle& bundle, std::string_view key,
                           std::string_view defaultValue);

/// The first of these that is not empty, in its own order and with its duplicates: the array of
/// texts under `pluralKey`, each without white space at its ends and the empty ones dropped (an
/// array with any other element counts as none); the one text under `singularKey`, trimmed as well;
/// the default, exactly as it is given. Never fails.
std::vector<std::string> readInfoStringList(const Bundle& bundle, std::string_view pluralKey,
                                            std::string_view singularKey,
                                            std::span<const std::string_view> defaultValue);

}  // namespace blindfold
