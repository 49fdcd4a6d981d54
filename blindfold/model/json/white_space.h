#pragma once

namespace blindfold {

/// Whether `character` may stand between the tokens of a JSON text.
constexpr bool isWhiteSpace(char character) {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

}  // namespace blindfold
