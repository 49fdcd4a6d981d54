#include "blindfold/model/json/key_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace blindfold {
namespace {
bool precedes(std::string_view left, std::string_view right) {
  return SortableKey(left) < SortableKey(right);
}

std::vector<std::string> sorted(std::vector<std::string> keys) {
  std::sort(keys.begin(), keys.end(), precedes);
  return keys;
}

using Keys = std::vector<std::string>;

TEST(KeyOrderTest, LettersCountRegardlessOfCase) {
  EXPECT_EQ(sorted({"b", "A", "a10", "a9"}), (Keys{"A", "a9", "a10", "b"}));
}

TEST(KeyOrderTest, LettersBeyondASCIICountRegardlessOfCase) {
  EXPECT_EQ(sorted({"\u00E9b", "\u00C9a", "\u0416b", "\u0436a"}),
            (Keys{"\u00C9a", "\u00E9b", "\u0436a", "\u0416b"}));
}

TEST(KeyOrderTest, RunsOfDigitsCountByTheirValue) {
  EXPECT_EQ(sorted({"a100b", "a20b", "a3b", "a3a"}), (Keys{"a3a", "a3b", "a20b", "a100b"}));
}

TEST(KeyOrderTest, ValuesMayHaveAnyNumberOfDigits) {
  const std::string nines(300, '9');
  const std::string power = "1" + std::string(300, '0');
  EXPECT_TRUE(precedes("a" + nines + "z", "a" + power + "a"));
  EXPECT_TRUE(precedes("a" + std::string(254, '9'), "a" + std::string(255, '1')));
  EXPECT_TRUE(precedes("a" + std::string(255, '9'), "a" + std::string(256, '1')));
  EXPECT_TRUE(precedes("a" + std::string(255, '1'), "a" + std::string(255, '2')));
  EXPECT_TRUE(precedes("18446744073709551615", "18446744073709551616"));
}

TEST(KeyOrderTest, LeadingZerosDoNotCountAgainstTheValue) {
  EXPECT_EQ(sorted({"a10", "a002", "a1", "a0009"}), (Keys{"a1", "a002", "a0009", "a10"}));
}

TEST(KeyOrderTest, KeysThatDifferOnlyInLeadingZerosAreToldApartByteByByte) {
  EXPECT_EQ(sorted({"a1", "a01", "a001"}), (Keys{"a001", "a01", "a1"}));
}

TEST(KeyOrderTest, WhatFollowsANumberCountsBeforeItsLeadingZeros) {
  EXPECT_EQ(sorted({"a1b", "a01c", "a01a"}), (Keys{"a01a", "a1b", "a01c"}));
}

TEST(KeyOrderTest, KeysThatDifferOnlyInCaseAreToldApartByteByByte) {
  EXPECT_EQ(sorted({"ab", "aB", "Ab", "AB"}), (Keys{"AB", "Ab", "aB", "ab"}));
}

TEST(KeyOrderTest, NumbersStandWhereDigitsStandAmongOtherCharacters) {
  EXPECT_EQ(sorted({"_", "a", ":", "/", "1000000", "~", " ", "."}),
            (Keys{" ", ".", "/", "1000000", ":", "_", "a", "~"}));
}

TEST(KeyOrderTest, AKeyComesBeforeThoseThatItBegins) {
  EXPECT_EQ(sorted({"ab", "a1", "a", "", "a "}), (Keys{"", "a", "a ", "a1", "ab"}));
}

TEST(KeyOrderTest, CharactersCountByTheirCodePoints) {
  EXPECT_EQ(sorted({"\U0001F4F7", "\uFFFD", "\u20AC", "z"}),
            (Keys{"z", "\u20AC", "\uFFFD", "\U0001F4F7"}));
}

TEST(KeyOrderTest, DigitsOfOtherScriptsAreCharacters) {
  EXPECT_TRUE(precedes("\u0661\u0660", "\u0662"));  // Arabic-Indic 10 and 2
}

TEST(KeyOrderTest, IsKnownAtCompileTime) {
  static_assert(SortableKey("leaseID") < SortableKey("micMuted"));
  static_assert(SortableKey("a9") < SortableKey("a10"));
}

/// Keys made of pieces that are hard to tell apart.
Keys awkwardKeys(std::size_t count) {
  const Keys pieces{"",
                    "a",
                    "A",
                    "b",
                    "0",
                    "00",
                    "1",
                    "01",
                    "9",
                    "10",
                    "010",
                    "/",
                    ":",
                    "_",
                    " ",
                    "\u00E9",
                    "\u00C9",
                    "s",
                    "\u017F",
                    "k",
                    "\u212A",
                    "\u00DF",
                    "\u1E9E",
                    "\xFF",
                    "\x80",
                    "\xC3",
                    "\xE2\x82",
                    "\uFFFD",
                    "\U00010400",
                    "\U00010428",
                    std::string(1, '\0'),
                    std::string(255, '9'),
                    std::string(256, '0')};
  std::mt19937 random(3);
  Keys keys = pieces;
  while (keys.size() < count) {
    std::string key;
    for (auto length = random() % 5; length > 0; --length) key += pieces[random() % pieces.size()];
    keys.push_back(key);
  }
  return keys;
}

std::vector<SortableKey> sortable(const Keys& keys) {
  return {keys.begin(), keys.end()};
}

TEST(KeyOrderPropertyTest, NoKeyPrecedesItself) {
  const Keys keys = awkwardKeys(5'000);
  for (const SortableKey& key : sortable(keys)) EXPECT_FALSE(key < key) << key.key();
}

TEST(KeyOrderPropertyTest, OfTwoDifferentKeysExactlyOnePrecedes) {
  const Keys keys = awkwardKeys(1'000);
  const auto sortableKeys = sortable(keys);
  for (const SortableKey& left : sortableKeys) {
    for (const SortableKey& right : sortableKeys) {
      if (left.key() == right.key()) continue;
      ASSERT_NE(left < right, right < left) << left.key() << " " << right.key();
    }
  }
}

TEST(KeyOrderPropertyTest, TheOrderIsTransitive) {
  const Keys keys = awkwardKeys(150);
  const auto sortableKeys = sortable(keys);
  for (const SortableKey& first : sortableKeys) {
    for (const SortableKey& second : sortableKeys) {
      if (!(first < second)) continue;
      for (const SortableKey& third : sortableKeys) {
        if (!(second < third)) continue;
        ASSERT_LT(first, third) << first.key() << " " << second.key() << " " << third.key();
      }
    }
  }
}

// The same order, told in another way: element by element.

using Element = std::variant<std::string, char32_t>;

std::vector<Element> elementsOf(std::string_view key) {
  std::vector<Element> elements;
  while (!key.empty()) {
    const std::size_t end = std::min(key.find_first_not_of("0123456789"), key.size());
    if (end == 0) {
      const CodePoint codePoint = readCodePoint(key, 0);
      elements.emplace_back(foldCase(codePoint.value));
      key.remove_prefix(codePoint.length);
      continue;
    }
    std::string digits(key.substr(0, end));
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    elements.emplace_back(digits);
    key.remove_prefix(end);
  }
  return elements;
}

int compareElements(const Element& left, const Element& right) {
  const auto* leftNumber = std::get_if<std::string>(&left);
  const auto* rightNumber = std::get_if<std::string>(&right);
  if (leftNumber != nullptr && rightNumber != nullptr) {
    if (leftNumber->size() != rightNumber->size()) {
      return leftNumber->size() < rightNumber->size() ? -1 : 1;
    }
    return leftNumber->compare(*rightNumber);
  }
  const char32_t leftRank = leftNumber != nullptr ? U'0' : std::get<char32_t>(left);
  const char32_t rightRank = rightNumber != nullptr ? U'0' : std::get<char32_t>(right);
  return leftRank < rightRank ? -1 : leftRank > rightRank ? 1 : 0;
}

bool precedesElementByElement(const std::string& left, const std::string& right) {
  const auto leftElements = elementsOf(left);
  const auto rightElements = elementsOf(right);
  for (std::size_t index = 0; index < std::min(leftElements.size(), rightElements.size());
       ++index) {
    const int order = compareElements(leftElements[index], rightElements[index]);
    if (order != 0) return order < 0;
  }
  if (leftElements.size() != rightElements.size())
    return leftElements.size() < rightElements.size();
  return left < right;
}

TEST(KeyOrderPropertyTest, IsTheOrderOfTheElements) {
  const Keys keys = awkwardKeys(300);
  for (const std::string& left : keys) {
    for (const std::string& right : keys) {
      ASSERT_EQ(precedes(left, right), precedesElementByElement(left, right))
          << left << " " << right;
    }
  }
}
}  // namespace
}  // namespace blindfold
