#include "blindfold/model/json/excerpt.h"

#include <gtest/gtest.h>

#include <string>

namespace blindfold {
namespace {

TEST(ExcerptTest, AShortValueIsShownWhole) {
  EXPECT_EQ(excerpt(JSONValue{"1.5"}), "1.5");
  EXPECT_EQ(excerpt(JSONValue{"\"virtual\""}), "\"virtual\"");
}

TEST(ExcerptTest, AStringIsShownAsItIsSpelled) {
  EXPECT_EQ(excerpt(JSONString{R"(a\"b\u001b)"}), R"("a\"b\u001b")");
}

TEST(ExcerptTest, ALongStringIsCutWithinItsQuotationMarks) {
  const std::string value = '"' + std::string(100, 'x') + '"';
  EXPECT_EQ(excerpt(JSONValue{value}), '"' + std::string(48, 'x') + "…\"");
}

TEST(ExcerptTest, ALongNumberIsCut) {
  const std::string value(100, '9');
  EXPECT_EQ(excerpt(JSONValue{value}), std::string(48, '9') + "…");
}

TEST(ExcerptTest, WhatATerminalWouldActOnIsEscaped) {
  EXPECT_EQ(excerpt(JSONValue{"\"\x7F\u200E\""}), R"("\u007f\u200e")");
}

}  // namespace
}  // namespace blindfold
