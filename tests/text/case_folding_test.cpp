#include "blindfold/text/case_folding.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {
TEST(CaseFoldingTest, FoldsASCIILetters) {
  EXPECT_EQ(foldCase(U'A'), U'a');
  EXPECT_EQ(foldCase(U'Z'), U'z');
  EXPECT_EQ(foldCase(U'm'), U'm');
}

TEST(CaseFoldingTest, LeavesWhatIsNextToASCIILettersAlone) {
  EXPECT_EQ(foldCase(U'@'), U'@');
  EXPECT_EQ(foldCase(U'['), U'[');
}

TEST(CaseFoldingTest, LeavesWhatComesBeforeTheFirstFoldingBeyondASCIIAlone) {
  EXPECT_EQ(foldCase(U'\u0080'), U'\u0080');
}

TEST(CaseFoldingTest, FoldsLettersBeyondASCII) {
  EXPECT_EQ(foldCase(U'É'), U'é');
  EXPECT_EQ(foldCase(U'Ω'), U'ω');
  EXPECT_EQ(foldCase(U'Ж'), U'ж');
  EXPECT_EQ(foldCase(0x10400), char32_t{0x10428});  // Deseret long I
}

TEST(CaseFoldingTest, FoldsEverySecondLetterWhereCasesAlternate) {
  EXPECT_EQ(foldCase(0x0100), char32_t{0x0101});
  EXPECT_EQ(foldCase(0x0101), char32_t{0x0101});
  EXPECT_EQ(foldCase(0x012E), char32_t{0x012F});
}

TEST(CaseFoldingTest, FoldsFormsOfTheSameLetterTogether) {
  EXPECT_EQ(foldCase(U'ς'), U'σ');
  EXPECT_EQ(foldCase(0x017F), U's');              // long s
  EXPECT_EQ(foldCase(0x212A), U'k');              // Kelvin sign
  EXPECT_EQ(foldCase(0x1E9E), char32_t{0x00DF});  // capital sharp s, to one letter
  EXPECT_EQ(foldCase(0x13F8), char32_t{0x13F0});  // Cherokee folds to capitals
}

TEST(CaseFoldingTest, LeavesWhatHasNoSimpleFoldingAlone) {
  EXPECT_EQ(foldCase(0x00D7), char32_t{0x00D7});  // multiplication sign, amid letters
  EXPECT_EQ(foldCase(0x00DF), char32_t{0x00DF});  // sharp s
  EXPECT_EQ(foldCase(0x0130), char32_t{0x0130});  // dotted I, which only some languages fold
  EXPECT_EQ(foldCase(U'漢'), U'漢');
  EXPECT_EQ(foldCase(0x10FFFF), char32_t{0x10FFFF});
}

TEST(CaseFoldingTest, WhatIsFoldedStaysFolded) {
  for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
    const char32_t folded = foldCase(codePoint);
    ASSERT_EQ(foldCase(folded), folded) << static_cast<unsigned>(codePoint);
  }
}

TEST(CaseFoldingTest, NothingButADigitFoldsToADigit) {
  for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
    const char32_t folded = foldCase(codePoint);
    if (folded >= U'0' && folded <= U'9') {
      ASSERT_EQ(codePoint, folded);
    }
  }
}

TEST(CaseFoldingTest, TheTableIsInAscendingOrder) {
  char32_t previous = 0;
  for (const CaseFolding& folding : caseFoldings) {
    EXPECT_GT(folding.first, previous);
    EXPECT_LE(folding.first, folding.last);
    EXPECT_EQ((folding.last - folding.first) % folding.step, 0U);
    previous = folding.last;
  }
}
}  // namespace
}  // namespace blindfold
