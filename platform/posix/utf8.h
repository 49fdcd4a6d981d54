#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace blindfold {

/// A Unicode scalar value and the number of bytes of its UTF-8 form.
struct UTF8Scalar {
  char32_t value;
  std::size_t size;
};

/// The scalar value that begins `text`, or nothing when the text is empty or does not begin with
/// well-formed UTF-8 (shortest forms only, no surrogates, nothing above U+10FFFF).
std::optional<UTF8Scalar> firstScalar(std::string_view text);

/// Whether `text` is UTF-8 and every scalar value in it satisfies `isAllowed`.
bool isUTF8(std::string_view text, bool (*isAllowed)(char32_t));

/// Appends the UTF-8 form of `scalar`, which must be a scalar value.
void appendUTF8(std::string& text, char32_t scalar);

}  // namespace blindfold
