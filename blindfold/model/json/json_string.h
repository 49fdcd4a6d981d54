#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace blindfold {

/// An escape sequence of a JSON string: what it stands for, and its length from the backslash on.
struct JSONEscape {
  char32_t codePoint;
  std::size_t length;
};

/// The escape sequence that `text` begins with, which is a pair of them for a code point beyond
/// U+FFFF; nothing when it is none, or one half of a pair.
std::optional<JSONEscape> readJSONEscape(std::string_view text);

/// A string of a checked JSON text, as it is spelled there.
struct JSONString {
  std::string_view content;  ///< Without its quotation marks.

  /// Whether it stands for something else than its content.
  bool hasEscapes() const { return content.find('\\') != std::string_view::npos; }

  /// What it stands for.
  std::string text() const;
};

/// Adds `text` to `json` as a JSON string. What is not valid UTF-8 becomes U+FFFD.
void appendJSONString(std::string& json, std::string_view text);

}  // namespace blindfold
