#include "blindfold/model/enumerations.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/ordinals.h"

namespace blindfold {
namespace {
template <class E>
class EnumerationsTest : public testing::Test {};

using Enumerations = testing::Types<CameraKind, ServiceDomain, ControlMode>;
TYPED_TEST_SUITE(EnumerationsTest, Enumerations);

TYPED_TEST(EnumerationsTest, ARawValueLeadsBackToItsCase) {
  for (const auto& each : EnumerationCoding<TypeParam>::rawValues) {
    EXPECT_EQ(fromRawValue<TypeParam>(rawValue(each.value)), each.value) << each.text;
  }
}

TYPED_TEST(EnumerationsTest, OnlyTheExactRawValueIsKnown) {
  for (const auto& each : EnumerationCoding<TypeParam>::rawValues) {
    const std::string raw(each.text);
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
  for (const auto& each : EnumerationCoding<TypeParam>::rawValues) {
    EXPECT_EQ(std::hash<TypeParam>{}(each.value), std::hash<std::string_view>{}(each.text));
  }
}

TEST(CameraKindTest, RawValuesAreTheNamesOfTheCases) {
  EXPECT_EQ(rawValue(CameraKind::builtIn), "builtIn");
  EXPECT_EQ(rawValue(CameraKind::externalUSB), "externalUSB");
  EXPECT_EQ(rawValue(CameraKind::continuity), "continuity");
  EXPECT_EQ(rawValue(CameraKind::unknown), "unknown");
}

TEST(CameraKindTest, HasItsCasesInOrder) {
  expectOrdinals(
      {CameraKind::builtIn, CameraKind::externalUSB, CameraKind::continuity, CameraKind::unknown});
  EXPECT_EQ(EnumerationCoding<CameraKind>::rawValues.size(), 4U);
}

TEST(CameraKindTest, UnknownDoesNotStandForOtherWords) {
  EXPECT_EQ(fromRawValue<CameraKind>("unknown"), CameraKind::unknown);
  EXPECT_EQ(fromRawValue<CameraKind>("virtual"), std::nullopt);
}

TEST(ServiceDomainTest, RawValuesAreTheNamesOfTheCases) {
  EXPECT_EQ(rawValue(ServiceDomain::system), "system");
  EXPECT_EQ(rawValue(ServiceDomain::gui), "gui");
}

TEST(ServiceDomainTest, HasItsCasesInOrder) {
  expectOrdinals({ServiceDomain::system, ServiceDomain::gui});
  EXPECT_EQ(EnumerationCoding<ServiceDomain>::rawValues.size(), 2U);
}

TEST(ControlModeTest, RawValuesAreTheNamesOfTheCases) {
  EXPECT_EQ(rawValue(ControlMode::sigstop), "sigstop");
  EXPECT_EQ(rawValue(ControlMode::sigtermDebug), "sigtermDebug");
}

TEST(ControlModeTest, HasItsCasesInOrder) {
  expectOrdinals({ControlMode::sigstop, ControlMode::sigtermDebug});
  EXPECT_EQ(EnumerationCoding<ControlMode>::rawValues.size(), 2U);
}
}  // namespace
}  // namespace blindfold
