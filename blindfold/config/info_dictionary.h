#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/platform/bundle.h"

namespace blindfold {

/// `text` (UTF-8) without the white-space and newline characters at its two ends; those inside
/// stay. Bytes that are not UTF-8 are not white space. Points into `text`.
std::string_view trimmingWhiteSpace(std::string_view text);

/// The text under `key` in `bundle`'s info dictionary, without white space at its ends. The
/// default, unchanged, when the value is absent, not text, or empty after trimming. Never fails.
std::string readInfoString(const Bundle& bundle, std::string_view key,
                           std::string_view defaultValue);

/// The first of these that is not empty, in its own order and with its duplicates: the array of
/// texts under `pluralKey`, trimmed, without empty texts (an array with an element of another type
/// counts as empty); the text under `singularKey`, trimmed; the default, unchanged. Never fails.
std::vector<std::string> readInfoStringList(const Bundle& bundle, std::string_view pluralKey,
                                            std::string_view singularKey,
                                            std::span<const std::string_view> defaultValue);

}  // namespace blindfold
