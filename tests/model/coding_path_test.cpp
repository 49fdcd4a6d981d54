#include "blindfold/model/json/coding_path.h"

#include <gtest/gtest.h>

#include <string>

namespace blindfold {
namespace {
TEST(CodingPathTest, NamesTheDocument) {
  EXPECT_EQ(CodingPath().description(), "the document");
}

TEST(CodingPathTest, NamesAField) {
  const CodingPath document;
  EXPECT_EQ(CodingPath(document, "mode").description(), "mode");
}

TEST(CodingPathTest, ListsItsStepsFromTheOutermostIn) {
  const CodingPath document;
  const CodingPath holdState(document, "holdState");
  const CodingPath heldTargets(holdState, "heldTargets");
  const CodingPath second(heldTargets, 1);
  EXPECT_EQ(CodingPath(second, "pid").description(), "holdState.heldTargets[1].pid");
}

TEST(CodingPathTest, QuotesAKeyAsItIsSpelled) {
  const CodingPath document;
  const CodingPath snapshot(document, "correlationSnapshot");
  const JSONString key{R"(a.b\"\n)"};
  EXPECT_EQ(CodingPath(snapshot, key).description(), R"(correlationSnapshot["a.b\"\n"])");
}

TEST(CodingPathTest, CutsALongKeyShort) {
  const std::string content(1'000'000, 'k');
  const CodingPath document;
  const CodingPath snapshot(document, "correlationSnapshot");
  EXPECT_LT(CodingPath(snapshot, JSONString{content}).description().size(), 100U);
}

TEST(ExcerptTest, ContainsAShortValueWhole) {
  EXPECT_EQ(excerpt(JSONValue{"1.5"}), "1.5");
  EXPECT_EQ(excerpt(JSONValue{"\"virtual\""}), "\"virtual\"");
}

TEST(ExcerptTest, SpellsAStringLikeItsText) {
  EXPECT_EQ(excerpt(JSONString{R"(a\"b\u001b)"}), R"("a\"b\u001b")");
}

TEST(ExcerptTest, CutsALongStringWithinItsQuotationMarks) {
  const std::string value = '"' + std::string(100, 'x') + '"';
  EXPECT_EQ(excerpt(JSONValue{value}), '"' + std::string(48, 'x') + "…\"");
}

TEST(ExcerptTest, CutsALongNumber) {
  const std::string value(100, '9');
  EXPECT_EQ(excerpt(JSONValue{value}), std::string(48, '9') + "…");
}

TEST(ExcerptTest, EscapesTheCharactersThatATerminalActsOn) {
  EXPECT_EQ(excerpt(JSONValue{"\"\x7F\u200E\""}), R"("\u007f\u200e")");
}
}  // namespace
}  // namespace blindfold
