#include "devhelper/number.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

namespace blindfold {
namespace {

using namespace std::chrono_literals;

TEST(NumberTest, ACountIsDecimalDigits) {
  EXPECT_EQ(parseCount("0", 10), 0);
  EXPECT_EQ(parseCount("007", 10), 7);
  EXPECT_EQ(parseCount("18446744073709551615", UINT64_MAX), UINT64_MAX);
}

TEST(NumberTest, AnythingAroundTheDigitsOfACountIsRefused) {
  for (const auto* text :
       {"", " 1", "1 ", "+1", "-1", "1.0", "0x1", "1k", "18446744073709551616"}) {
    EXPECT_EQ(parseCount(text, UINT64_MAX), std::nullopt) << text;
  }
}

TEST(NumberTest, ACountReachesItsMaximumAndNoFurther) {
  EXPECT_EQ(parseCount("10", 10), 10);
  EXPECT_EQ(parseCount("11", 10), std::nullopt);
}

TEST(NumberTest, SecondsAreExactToTheNanosecond) {
  EXPECT_EQ(parseSeconds("0", 10s), 0ns);
  EXPECT_EQ(parseSeconds("2", 10s), 2s);
  EXPECT_EQ(parseSeconds("0.25", 10s), 250ms);
  EXPECT_EQ(parseSeconds("1.000000001", 10s), 1s + 1ns);
}

TEST(NumberTest, SecondsMayLackEitherSideOfTheirPoint) {
  EXPECT_EQ(parseSeconds(".5", 10s), 500ms);
  EXPECT_EQ(parseSeconds("3.", 10s), 3s);
}

TEST(NumberTest, DigitsBelowTheNanosecondAreDropped) {
  EXPECT_EQ(parseSeconds("0.0000000019999", 10s), 1ns);
}

TEST(NumberTest, AnythingElseIsNoNumberOfSeconds) {
  for (const auto* text :
       {"", ".", "-1", "+1", "1e3", "1,5", "1.5.2", " 1", "1 ", "inf", "nan", "0x1"}) {
    EXPECT_EQ(parseSeconds(text, 10s), std::nullopt) << text;
  }
}

TEST(NumberTest, SecondsReachTheirMaximumAndNoFurther) {
  EXPECT_EQ(parseSeconds("10.0", 10s), 10s);
  EXPECT_EQ(parseSeconds("10.000000001", 10s), std::nullopt);
  EXPECT_EQ(parseSeconds("99999999999999999999", 10s), std::nullopt);
}

}  // namespace
}  // namespace blindfold
