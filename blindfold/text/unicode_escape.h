#pragma once

#include <string>

namespace blindfold {

/// Adds `\u` and the four lower-case hexadecimal digits of `codeUnit` to `text`.
void appendUnicodeEscape(std::string& text, char16_t codeUnit);

}  // namespace blindfold
