#include "blindfold/text/plain_characters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace blindfold {
namespace {
/// `plainLength` without the examination of several characters at a time.
template <char... special>
std::size_t lengthCharacterByCharacter(std::string_view text) {
  return static_cast<std::size_t>(
      std::find_if_not(text.begin(), text.end(), isPlainCharacter<special...>) - text.begin());
}

template <char... special>
void expectSameLength(std::string_view text) {
  ASSERT_EQ(plainLength<special...>(text), lengthCharacterByCharacter<special...>(text)) << text;
}

TEST(PlainCharactersTest, AreASCIIWithoutControlAndSpecialCharacters) {
  for (int byte = 0; byte < 256; ++byte) {
    const auto character = static_cast<char>(byte);
    const bool isPlain = byte >= 0x20 && byte < 0x80;
    EXPECT_EQ(isPlainCharacter<>(character), isPlain) << byte;
    EXPECT_EQ((isPlainCharacter<'"', '/'>(character)),
              isPlain && character != '"' && character != '/')
        << byte;
  }
}

TEST(PlainCharactersTest, AreCountedUpToAnyByteAtAnyPosition) {
  for (int byte = 0; byte < 256; ++byte) {
    for (std::size_t position = 0; position < 20; ++position) {
      std::string text(20, 'x');
      text[position] = static_cast<char>(byte);
      expectSameLength<'"', '\\'>(text);
      expectSameLength<'<', '&', ']', ' ', '~'>(text);
    }
  }
}

TEST(PlainCharactersTest, AreCountedBesideAnyOtherByte) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      std::string text = "xxxxxxxx";
      text[3] = static_cast<char>(first);
      text[4] = static_cast<char>(second);
      expectSameLength<'"', '\\'>(text);
      expectSameLength<'<', '&', ']', ' ', '~'>(text);
    }
  }
}

TEST(PlainCharactersTest, AreCountedToTheEndOfATextOfAnyLength) {
  const std::string text(40, '~');
  for (std::size_t length = 0; length <= text.size(); ++length) {
    EXPECT_EQ(plainLength<'"'>(std::string_view(text).substr(0, length)), length);
  }
}
}  // namespace
}  // namespace blindfold
