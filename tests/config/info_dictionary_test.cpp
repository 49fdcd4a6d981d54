#include "blindfold/config/info_dictionary.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/fake_bundle.h"

namespace blindfold {
namespace {
using Strings = std::vector<std::string>;

std::string readString(const DictionaryValue& value) {
  const FakeBundle bundle({{"Key", value}});
  return readInfoString(bundle, "Key", " default ");
}

TEST(ReadInfoStringTest, WhiteSpaceAroundTheTextIsDropped) {
  EXPECT_EQ(readString("  app.blindfold helper\t"), "app.blindfold helper");
}

TEST(ReadInfoStringTest, WhiteSpaceInsideTheTextStaysAsItIs) {
  EXPECT_EQ(readString(" a  b\t\tc\nd "), "a  b\t\tc\nd");
}

TEST(ReadInfoStringTest, AMissingKeyYieldsTheDefaultAsItIs) {
  EXPECT_EQ(readInfoString(FakeBundle(), "Key", " default "), " default ");
}

TEST(ReadInfoStringTest, AValueThatIsNoTextYieldsTheDefault) {
  EXPECT_EQ(readString(OpaqueValue()), " default ");
  EXPECT_EQ(readString(ValueArray{"text"}), " default ");
}

TEST(ReadInfoStringTest, ATextOfWhiteSpaceOnlyYieldsTheDefault) {
  EXPECT_EQ(readString(""), " default ");
  EXPECT_EQ(readString(" \n\u00A0"), " default ");
}

TEST(ReadInfoStringTest, TheKeyIsReadOnce) {
  const FakeBundle bundle;
  readInfoString(bundle, "Key", "default");
  EXPECT_EQ(bundle.askedKeys(), Strings{"Key"});
}

Strings readList(FakeBundle::Dictionary dictionary) {
  constexpr std::array<std::string_view, 3> defaultValue{"x", " y ", "x"};
  return readInfoStringList(FakeBundle(std::move(dictionary)), "Keys", "Key", defaultValue);
}

const Strings theDefault{"x", " y ", "x"};

TEST(ReadInfoStringListTest, TheTextsAreTrimmedAndKeepTheirOrderAndDuplicates) {
  EXPECT_EQ(readList({{"Keys", ValueArray{"C", "A", "A", " B\n"}}}), (Strings{"C", "A", "A", "B"}));
}

TEST(ReadInfoStringListTest, TextsOfWhiteSpaceOnlyAreDropped) {
  EXPECT_EQ(readList({{"Keys", ValueArray{" ", "A", "", "B"}}}), (Strings{"A", "B"}));
}

TEST(ReadInfoStringListTest, ThePluralKeyWinsOverTheSingularOne) {
  EXPECT_EQ(readList({{"Keys", ValueArray{"A"}}, {"Key", "B"}}), Strings{"A"});
}

TEST(ReadInfoStringListTest, TheSingularKeyIsConsultedWhenThePluralOneIsMissing) {
  EXPECT_EQ(readList({{"Key", "  B "}}), Strings{"B"});
  EXPECT_EQ(readList({{"Key", "B,  C\nD"}}), Strings{"B,  C\nD"});
}

TEST(ReadInfoStringListTest, AnArrayThatIsEmptyAfterTrimmingCountsAsNone) {
  EXPECT_EQ(readList({{"Keys", ValueArray{"", "   "}}, {"Key", "B"}}), Strings{"B"});
  EXPECT_EQ(readList({{"Keys", ValueArray{}}, {"Key", "B"}}), Strings{"B"});
  EXPECT_EQ(readList({{"Keys", ValueArray{"", "   "}}}), theDefault);
}

TEST(ReadInfoStringListTest, OneElementThatIsNoTextDisqualifiesTheWholeArray) {
  EXPECT_EQ(readList({{"Keys", ValueArray{std::nullopt, "A"}}, {"Key", "B"}}), Strings{"B"});
  EXPECT_EQ(readList({{"Keys", ValueArray{"A", std::nullopt}}}), theDefault);
}

TEST(ReadInfoStringListTest, APluralValueThatIsNoArrayCountsAsNone) {
  EXPECT_EQ(readList({{"Keys", "A"}, {"Key", "B"}}), Strings{"B"});
  EXPECT_EQ(readList({{"Keys", OpaqueValue()}}), theDefault);
}

TEST(ReadInfoStringListTest, ASingularValueThatIsNoTextYieldsTheDefault) {
  EXPECT_EQ(readList({{"Key", ValueArray{"B"}}}), theDefault);
  EXPECT_EQ(readList({{"Key", OpaqueValue()}}), theDefault);
  EXPECT_EQ(readList({{"Key", " \t"}}), theDefault);
}

TEST(ReadInfoStringListTest, TheDefaultIsReturnedAsItIs) {
  EXPECT_EQ(readList({}), theDefault);
}

TEST(ReadInfoStringListTest, TheSingularKeyIsNotReadWhenThePluralOneYieldsAnything) {
  const FakeBundle bundle({{"Keys", ValueArray{"A"}}});
  readInfoStringList(bundle, "Keys", "Key", {});
  EXPECT_EQ(bundle.askedKeys(), Strings{"Keys"});
}
}  // namespace
}  // namespace blindfold
