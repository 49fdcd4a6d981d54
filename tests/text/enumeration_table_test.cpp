#include "blindfold/text/enumeration_table.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {
enum class Fruit { apple, pear, plum };

struct FruitDescription {
  int weight;
  Fruit fruit;
};

template <std::size_t count>
bool isInOrder(const FruitDescription (&rows)[count]) {
  return isInOrderOfCases(&FruitDescription::fruit, rows);
}

TEST(EnumerationTableTest, IsInOrderWhenEachRowIsThatOfItsCase) {
  EXPECT_TRUE(isInOrder({{150, Fruit::apple}, {200, Fruit::pear}, {50, Fruit::plum}}));
}

TEST(EnumerationTableTest, IsOutOfOrderWhenTwoRowsAreSwapped) {
  EXPECT_FALSE(isInOrder({{150, Fruit::apple}, {50, Fruit::plum}, {200, Fruit::pear}}));
}

TEST(EnumerationTableTest, IsOutOfOrderWhenARowIsMissing) {
  EXPECT_FALSE(isInOrder({{150, Fruit::apple}, {50, Fruit::plum}}));
  EXPECT_FALSE(isInOrder({{200, Fruit::pear}, {50, Fruit::plum}}));
}

TEST(EnumerationTableTest, FindsTheTextOfACase) {
  constexpr EnumerationTable names(
      &EnumerationText<Fruit>::value,
      {{Fruit::apple, "apple"}, {Fruit::pear, "pear"}, {Fruit::plum, "plum"}});
  EXPECT_EQ(names[Fruit::apple].text, "apple");
  EXPECT_EQ(names[Fruit::plum].text, "plum");
}

TEST(EnumerationTableTest, TakesRowsWithOtherColumns) {
  constexpr EnumerationTable fruits(&FruitDescription::fruit,
                                    {{150, Fruit::apple}, {200, Fruit::pear}, {50, Fruit::plum}});
  EXPECT_EQ(fruits[Fruit::pear].weight, 200);
}

TEST(EnumerationTableTest, VisitsItsRowsInOrder) {
  constexpr EnumerationTable names(&EnumerationText<Fruit>::value,
                                   {{Fruit::apple, "apple"}, {Fruit::pear, "pear"}});
  std::string visited;
  for (const auto& row : names) visited += row.text;
  EXPECT_EQ(visited, "applepear");
}
}  // namespace
}  // namespace blindfold
