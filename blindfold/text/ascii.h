#pragma once

namespace blindfold {

/// Whether `character` is one of 0 to 9.
constexpr bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

}  // namespace blindfold
