#include "blindfold/model/enumerations.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace blindfold {
namespace {

template <class E>
class EnumerationsTest : public testing::Test {};

using Enumerations = testing::Types<CameraKind, ServiceDomain, ControlMode>;
TYPED_TEST_SUITE(EnumerationsTest, Enumerations);

TYPED_TEST(EnumerationsTest, CasesStandInTheOrderOfTheirOrdinals) {
  int ordinal = 0;
  for (const auto& each : EnumerationTable<TypeParam>::cases) {
    EXPECT_EQ(static_cast<int>(each.value), ordinal++) << each.rawValue;
  }
}

TYPED_TEST(EnumerationsTest, ARawValueLeadsBackToItsCase) {
  for (const auto& each : EnumerationTable<TypeParam>::cases) {
    EXPECT_EQ(fromRawValue<TypeParam>(rawValue(each.value)), each.value) << each.rawValue;
  }
}

TYPED_TEST(EnumerationsTest, OnlyTheExactRawValueIsKnown) {
  for (const auto& each : EnumerationTable<TypeParam>::cases) {
    const std::string raw(each.rawValue);
    std::string capitalised = raw;
    capitalised[0] = static_cast<char>(capitalised[0] - 'a' + 'A');
    EXPECT_EQ(fromRawValue<TypeParam>(capitalised), std::nullopt);
    EXPECT_EQ(fromRawValue<TypeParam>(" " + raw), std::nullopt);
    EXPECT_EQ(fromRawValue<TypeParam>(raw + " "), std::nullopt);
    EXPECT_EQ(fromRawValue<TypeParam>(raw.substr(1)), std::nullopt);
  }
  EXPECT_EQ(fromRawValue<TypeParam>(""), std::nullopt);
}

TYPED_TEST(EnumerationsTest, HashesAreThoseOfTheRawValues) {
  for (const auto& each : EnumerationTable<TypeParam>::cases) {
    EXPECT_EQ(std::hash<TypeParam>{}(each.value), std::hash<std::string_view>{}(each.rawValue));
  }
}

TEST(CameraKindTest, RawValuesAreTheNamesOfTheCases) {
  EXPECT_EQ(rawValue(CameraKind::builtIn), "builtIn");
  EXPECT_EQ(rawValue(CameraKind::externalUSB), "externalUSB");
  EXPECT_EQ(rawValue(CameraKind::continuity), "continuity");
  EXPECT_EQ(rawValue(CameraKind::unknown), "unknown");
}

TEST(CameraKindTest, HasFourCases) {
  EXPECT_EQ(EnumerationTable<CameraKind>::cases.size(), 4U);
}

TEST(CameraKindTest, UnknownIsNoRefugeForOtherWords) {
  EXPECT_EQ(fromRawValue<CameraKind>("unknown"), CameraKind::unknown);
  EXPECT_EQ(fromRawValue<CameraKind>("virtual"), std::nullopt);
}

TEST(ServiceDomainTest, RawValuesAreTheNamesOfTheCases) {
  EXPECT_EQ(rawValue(ServiceDomain::system), "system");
  EXPECT_EQ(rawValue(ServiceDomain::gui), "gui");
}

TEST(ServiceDomainTest, HasTwoCases) {
  EXPECT_EQ(EnumerationTable<ServiceDomain>::cases.size(), 2U);
}

TEST(ControlModeTest, RawValuesAreTheNamesOfTheCases) {
  EXPECT_EQ(rawValue(ControlMode::sigstop), "sigstop");
  EXPECT_EQ(rawValue(ControlMode::sigtermDebug), "sigtermDebug");
}

TEST(ControlModeTest, HasTwoCases) {
  EXPECT_EQ(EnumerationTable<ControlMode>::cases.size(), 2U);
}

}  // namespace
}  // namespace blindfold
