#pragma once

#include <string_view>

namespace blindfold {

/// `text` (UTF-8) without the white-space and newline characters at its two ends; those inside
/// stay. Bytes that are not UTF-8 are no white space. The result points into `text`.
std::string_view trimmingWhiteSpace(std::string_view text);

}  // namespace blindfold
