#include "blindfold/model/json/json_value.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace blindfold {
namespace {
std::vector<std::string> elementsOf(std::string_view array) {
  std::vector<std::string> texts;
  JSONElements elements(JSONValue{array});
  while (const auto element = elements.next()) texts.emplace_back(element->text);
  return texts;
}

std::vector<std::pair<std::string, std::string>> membersOf(std::string_view object) {
  std::vector<std::pair<std::string, std::string>> texts;
  JSONMembers members(JSONValue{object});
  while (const auto member = members.next()) {
    texts.emplace_back(member->key.content, member->value.text);
  }
  return texts;
}

TEST(JSONValueTest, TheFirstCharacterTellsTheType) {
  EXPECT_EQ(JSONValue{"null"}.type(), JSONType::null);
  EXPECT_EQ(JSONValue{"true"}.type(), JSONType::boolean);
  EXPECT_EQ(JSONValue{"false"}.type(), JSONType::boolean);
  EXPECT_EQ(JSONValue{"0"}.type(), JSONType::number);
  EXPECT_EQ(JSONValue{"9.5"}.type(), JSONType::number);
  EXPECT_EQ(JSONValue{"-1"}.type(), JSONType::number);
  EXPECT_EQ(JSONValue{"\"\""}.type(), JSONType::string);
  EXPECT_EQ(JSONValue{"[]"}.type(), JSONType::array);
  EXPECT_EQ(JSONValue{"{}"}.type(), JSONType::object);
}

TEST(JSONValueTest, TypesHaveNamesForErrors) {
  EXPECT_EQ(nameOf(JSONType::null), "null");
  EXPECT_EQ(nameOf(JSONType::boolean), "a boolean");
  EXPECT_EQ(nameOf(JSONType::number), "a number");
  EXPECT_EQ(nameOf(JSONType::string), "a string");
  EXPECT_EQ(nameOf(JSONType::array), "an array");
  EXPECT_EQ(nameOf(JSONType::object), "an object");
}

TEST(JSONValueTest, BooleansHaveTheirValues) {
  EXPECT_TRUE(JSONValue{"true"}.boolean());
  EXPECT_FALSE(JSONValue{"false"}.boolean());
}

TEST(JSONValueTest, AStringIsWithoutItsQuotationMarks) {
  EXPECT_EQ(JSONValue{R"("a\"b")"}.string().content, R"(a\"b)");
}

TEST(JSONElementsTest, AnEmptyArrayHasNone) {
  EXPECT_EQ(elementsOf("[]"), std::vector<std::string>{});
  EXPECT_EQ(elementsOf("[ \n]"), std::vector<std::string>{});
}

TEST(JSONElementsTest, ComeInTurnWithoutTheWhiteSpaceAroundThem) {
  EXPECT_EQ(
      elementsOf("[ null ,true,\t-1.5e+3\r,\n\"x\" , [1,[2]] , {\"a\" : 1} ]"),
      (std::vector<std::string>{"null", "true", "-1.5e+3", "\"x\"", "[1,[2]]", "{\"a\" : 1}"}));
}

TEST(JSONElementsTest, BracketsAndQuotationMarksInStringsAreSkipped) {
  EXPECT_EQ(elementsOf(R"(["]",["]"],{"}":"\"]"},"\\",1])"),
            (std::vector<std::string>{R"("]")", R"(["]"])", R"({"}":"\"]"})", R"("\\")", "1"}));
}

TEST(JSONMembersTest, AnEmptyObjectHasNone) {
  EXPECT_TRUE(membersOf("{ }").empty());
}

TEST(JSONMembersTest, ComeInTurnEqualKeysAndAll) {
  const std::vector<std::pair<std::string, std::string>> expected{
      {"a", "1"}, {"b:,}", "[{}]"}, {"a", "\":\""}, {"\\u0061", "null"}};
  EXPECT_EQ(membersOf("{\"a\":1 , \"b:,}\" :[{}],\n\"a\": \":\",\"\\u0061\":null}"), expected);
}
}  // namespace
}  // namespace blindfold
