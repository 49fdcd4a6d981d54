#include "blindfold/model/json/number.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <string_view>

namespace blindfold {
namespace {
using Limits = std::numeric_limits<std::int64_t>;

template <class T>
std::string written(T value) {
  std::string text;
  appendNumber(text, value);
  return text;
}

TEST(ParseIntegerTest, PlainIntegersAreThemselves) {
  EXPECT_EQ(parseInteger("0"), 0);
  EXPECT_EQ(parseInteger("512"), 512);
  EXPECT_EQ(parseInteger("-3"), -3);
  EXPECT_EQ(parseInteger("1000"), 1000);
}

TEST(ParseIntegerTest, AWholeNumberMayBeSpelledWithAFractionOrAnExponent) {
  EXPECT_EQ(parseInteger("512.0"), 512);
  EXPECT_EQ(parseInteger("5.12e2"), 512);
  EXPECT_EQ(parseInteger("5.12E+2"), 512);
  EXPECT_EQ(parseInteger("51200e-2"), 512);
  EXPECT_EQ(parseInteger("0.0512e4"), 512);
  EXPECT_EQ(parseInteger("512.000e0"), 512);
  EXPECT_EQ(parseInteger("1e3"), 1000);
}

TEST(ParseIntegerTest, ZeroIsZeroHoweverItIsSpelled) {
  EXPECT_EQ(parseInteger("-0"), 0);
  EXPECT_EQ(parseInteger("0.000"), 0);
  EXPECT_EQ(parseInteger("-0.0e5"), 0);
  EXPECT_EQ(parseInteger("0e99999999999999999999999999"), 0);
  EXPECT_EQ(parseInteger("0e-99999999999999999999999999"), 0);
}

TEST(ParseIntegerTest, FractionsAreNoIntegers) {
  EXPECT_EQ(parseInteger("1.5"), std::nullopt);
  EXPECT_EQ(parseInteger("-2.5"), std::nullopt);
  EXPECT_EQ(parseInteger("1e-1"), std::nullopt);
  EXPECT_EQ(parseInteger("5.12e1"), std::nullopt);
}

TEST(IsIntegerTest, AnIntegerOfAnySizeIsOne) {
  for (const std::string_view number :
       {"0", "-0.0", "0e-5", "9223372036854775808", "1e999", "12.50e1"}) {
    EXPECT_TRUE(isInteger(number)) << number;
  }
  for (const std::string_view number : {"0.5", "1e-1", "12.34e1", "-1e-999"}) {
    EXPECT_FALSE(isInteger(number)) << number;
  }
}

TEST(ParseIntegerTest, TheLimitsOf64BitsAreWithin) {
  EXPECT_EQ(parseInteger("9223372036854775807"), Limits::max());
  EXPECT_EQ(parseInteger("-9223372036854775808"), Limits::min());
  EXPECT_EQ(parseInteger("9.223372036854775807e18"), Limits::max());
  EXPECT_EQ(parseInteger("-92233720368547758080e-1"), Limits::min());
}

TEST(ParseIntegerTest, WhatIsBeyond64BitsIsNothing) {
  EXPECT_EQ(parseInteger("9223372036854775808"), std::nullopt);
  EXPECT_EQ(parseInteger("-9223372036854775809"), std::nullopt);
  EXPECT_EQ(parseInteger("18446744073709551615"), std::nullopt);
  EXPECT_EQ(parseInteger("18446744073709551616"), std::nullopt);
  EXPECT_EQ(parseInteger("18446744073709551617"), std::nullopt);
  EXPECT_EQ(parseInteger("1e19"), std::nullopt);
  EXPECT_EQ(parseInteger("99999999999999999999"), std::nullopt);
}

TEST(ParseIntegerTest, NoDigitIsLostOnTheWay) {
  EXPECT_EQ(parseInteger("9007199254740993"), 9007199254740993);
  EXPECT_EQ(parseInteger("9007199254740993.0"), 9007199254740993);
  EXPECT_EQ(parseInteger("1.0000000000000000001"), std::nullopt);
  EXPECT_EQ(parseInteger("9223372036854775807.0000000000000000000001"), std::nullopt);
}

TEST(ParseIntegerTest, HugeExponentsAreSafe) {
  EXPECT_EQ(parseInteger("1e99999999999999999999999999"), std::nullopt);
  EXPECT_EQ(parseInteger("1e-99999999999999999999999999"), std::nullopt);
  EXPECT_EQ(parseInteger("1e9223372036854775807"), std::nullopt);
  EXPECT_EQ(parseInteger("1e-9223372036854775808"), std::nullopt);
}

TEST(ParseIntegerTest, ALongMantissaAndItsExponentMayMakeUpForEachOther) {
  const std::string zeros(100'000, '0');
  EXPECT_EQ(parseInteger("0." + zeros + "7e100001"), 7);
  EXPECT_EQ(parseInteger("7" + zeros + "e-100000"), 7);
  EXPECT_EQ(parseInteger("7." + zeros), 7);
  EXPECT_EQ(parseInteger("7." + zeros + "1"), std::nullopt);
}

TEST(ParseIntegerTest, EveryWrittenIntegerIsReadBack) {
  std::mt19937_64 random(1);
  for (int round = 0; round < 10'000; ++round) {
    const auto value = static_cast<std::int64_t>(random() >> (random() % 64));
    ASSERT_EQ(parseInteger(written(value)), value);
    ASSERT_EQ(parseInteger(written(-value)), -value);
  }
}

TEST(ParseDoubleTest, TakesEveryFormOfANumber) {
  EXPECT_EQ(parseDouble("30"), 30.0);
  EXPECT_EQ(parseDouble("30.0"), 30.0);
  EXPECT_EQ(parseDouble("-2.5"), -2.5);
  EXPECT_EQ(parseDouble("2.5e3"), 2500.0);
  EXPECT_EQ(parseDouble("25E-1"), 2.5);
  EXPECT_EQ(parseDouble("0.001"), 0.001);
}

TEST(ParseDoubleTest, ZeroIsZeroHoweverItIsSpelled) {
  EXPECT_EQ(parseDouble("0"), 0.0);
  EXPECT_EQ(parseDouble("-0"), 0.0);
  EXPECT_EQ(parseDouble("-0.0e7"), 0.0);
}

TEST(ParseDoubleTest, ZeroKeepsItsSign) {
  EXPECT_FALSE(std::signbit(parseDouble("0").value()));
  EXPECT_TRUE(std::signbit(parseDouble("-0.0e7").value()));
}

TEST(ParseDoubleTest, WhatIsNotFiniteIsNothing) {
  EXPECT_EQ(parseDouble("1e400"), std::nullopt);
  EXPECT_EQ(parseDouble("-1e400"), std::nullopt);
  EXPECT_EQ(parseDouble("1e99999999999999999999999999"), std::nullopt);
  EXPECT_EQ(parseDouble("1.7976931348623159e308"), std::nullopt);
}

TEST(ParseDoubleTest, TheLargestAndTheSmallestAreThemselves) {
  EXPECT_EQ(parseDouble("1.7976931348623157e308"), std::numeric_limits<double>::max());
  EXPECT_EQ(parseDouble("5e-324"), std::numeric_limits<double>::denorm_min());
}

TEST(ParseDoubleTest, WhatIsTooSmallIsZero) {
  EXPECT_EQ(parseDouble("1e-400"), 0.0);
  EXPECT_EQ(parseDouble("1e-99999999999999999999999999"), 0.0);
}

TEST(ParseDoubleTest, EqualsTheStandardLibrarysReading) {
  for (const char* number :
       {"0.1", "123.456", "9007199254740993", "1e23", "8.41e21", "2.2250738585072011e-308",
        "2.2250738585072014e-308", "179769313486231580793e288",
        "0.500000000000000166533453693773481063544750213623046875"}) {
    EXPECT_EQ(parseDouble(number), std::strtod(number, nullptr)) << number;
  }
}

TEST(ParseDoubleTest, ADigitFarBehindDecidesATie) {
  // Half way between 1 and the next double; a digit after all others decides.
  const std::string tie = "1.00000000000000011102230246251565404236316680908203125";
  EXPECT_EQ(parseDouble(tie), 1.0);
  EXPECT_EQ(parseDouble(tie + std::string(5'000, '0')), 1.0);
  EXPECT_EQ(parseDouble(tie + std::string(5'000, '0') + "1"), 1.0 + 0x1p-52);
}

TEST(ParseDoubleTest, ALongMantissaAndItsExponentMayMakeUpForEachOther) {
  const std::string zeros(100'000, '0');
  EXPECT_EQ(parseDouble("0." + zeros + "25e100001"), 2.5);
  EXPECT_EQ(parseDouble("25" + zeros + "e-100001"), 2.5);
  EXPECT_EQ(parseDouble(std::string(100'000, '7') + "e-100000"), 7.0 / 9.0);
}

TEST(WrittenIntegerTest, IsPlainDecimal) {
  EXPECT_EQ(written(std::int64_t{0}), "0");
  EXPECT_EQ(written(Limits::max()), "9223372036854775807");
  EXPECT_EQ(written(Limits::min()), "-9223372036854775808");
}

TEST(WrittenDoubleTest, AWholeNumberHasNoFraction) {
  EXPECT_EQ(written(30.0), "30");
  EXPECT_EQ(written(-100.0), "-100");
  EXPECT_EQ(written(0.0), "0");
  EXPECT_EQ(written(-0.0), "-0");
}

TEST(WrittenDoubleTest, HasNoMoreDigitsThanReadBack) {
  EXPECT_EQ(written(0.1), "0.1");
  EXPECT_EQ(written(30.5), "30.5");
  EXPECT_EQ(written(1.0 / 3.0), "0.3333333333333333");
  EXPECT_EQ(written(123456789.125), "123456789.125");
}

TEST(WrittenDoubleTest, IsPlainFromOneTenThousandthOn) {
  EXPECT_EQ(written(1e-4), "0.0001");
  EXPECT_EQ(written(-1.25e-4), "-0.000125");
}

TEST(WrittenDoubleTest, HasAnExponentBelow) {
  EXPECT_EQ(written(std::nextafter(1e-4, 0.0)), "9.999999999999999e-05");
  EXPECT_EQ(written(1e-5), "1e-05");
  EXPECT_EQ(written(-1.5e-5), "-1.5e-05");
  EXPECT_EQ(written(std::numeric_limits<double>::denorm_min()), "5e-324");
}

TEST(WrittenDoubleTest, IsPlainUpToTwoToThe54) {
  EXPECT_EQ(written(0x1p53), "9007199254740992");
  EXPECT_EQ(written(0x1p54 - 2), "18014398509481982");
  EXPECT_EQ(written(0x1p54), "18014398509481984");
  EXPECT_EQ(written(-0x1p54), "-18014398509481984");
}

TEST(WrittenDoubleTest, HasAnExponentAbove) {
  EXPECT_EQ(written(std::nextafter(0x1p54, HUGE_VAL)), "1.8014398509481988e+16");
  EXPECT_EQ(written(1e20), "1e+20");
  EXPECT_EQ(written(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
}

TEST(WrittenDoubleTest, EveryFiniteDoubleIsReadBackExactly) {
  std::mt19937_64 random(2);
  for (int round = 0; round < 100'000; ++round) {
    const auto value = std::bit_cast<double>(random());
    if (!std::isfinite(value)) continue;
    const std::string text = written(value);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(parseDouble(text).value()),
              std::bit_cast<std::uint64_t>(value))
        << text;
  }
}

TEST(WrittenDoubleTest, EveryDurationInMillisecondsIsReadBackExactly) {
  for (int milliseconds = 0; milliseconds < 100'000; ++milliseconds) {
    const double value = milliseconds / 1000.0;
    const std::string text = written(value);
    ASSERT_EQ(parseDouble(text), value) << text;
    ASSERT_LE(text.size(), 6U) << text;
  }
}
}  // namespace
}  // namespace blindfold
