#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/text/plain_characters.h"

namespace blindfold {

/// An escape sequence of a JSON string: its code point, and its length in bytes.
struct JSONEscape {
  char32_t codePoint;
  std::size_t length;
};

/// The escape sequence at the beginning of `text`; a surrogate pair is one sequence. `std::nullopt`
/// when there is none, or an unpaired surrogate.
std::optional<JSONEscape> readJSONEscape(std::string_view text);

/// The number of ASCII characters at the beginning of `text` that stand for themselves in a JSON
/// string (RFC 8259, section 7).
inline std::size_t plainStringLength(std::string_view text) {
  return plainLength<'"', '\\'>(text);
}

/// A string of a checked JSON text, as it is spelled there.
struct JSONString {
  std::string_view content;  ///< Without the quotation marks.

  bool hasEscapes() const { return content.find('\\') != std::string_view::npos; }

  /// The string's value.
  std::string text() const;
};

/// Appends `text` to `json` as a JSON string. Bytes that are not valid UTF-8 become U+FFFD.
void appendJSONString(std::string& json, std::string_view text);

}  // namespace blindfold
