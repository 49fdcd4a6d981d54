#include "blindfold/model/record.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
// Another value of each type that a field can have.
bool changed(bool value) {
  return !value;
}
std::int64_t changed(std::int64_t value) {
  return value + 1;
}
std::string changed(const std::string& value) {
  return value + "'";
}
Instant changed(Instant value) {
  return value + std::chrono::seconds(1);
}

template <Enumeration E>
E changed(E value) {
  constexpr std::size_t count = EnumerationCoding<E>::rawValues.size();
  return static_cast<E>((static_cast<std::size_t>(value) + 1) % count);
}

template <Record T>
T changed(T value) {
  auto& first = value.*std::get<0>(FieldTable<T>::fields).member;
  first = changed(first);
  return value;
}

template <class T>
std::optional<T> changed(const std::optional<T>& value) {
  return changed(value.value());
}

template <class T>
std::vector<T> changed(std::vector<T> value) {
  value.back() = changed(value.back());
  return value;
}

/// Calls `check` with the name of each field and the sample record with that field changed.
template <Record T, class Check>
void forEachChangedField(const Check& check) {
  const auto changeOne = [&](const auto& field) {
    T record = sample::record<T>();
    record.*field.member = changed(record.*field.member);
    check(field.name, record);
  };
  std::apply([&](const auto&... field) { (changeOne(field), ...); }, FieldTable<T>::fields);
}

/// Calls `check` with the name of each optional field and the sample record without it.
template <Record T, class Check>
void forEachOmittedField(const Check& check) {
  const auto omitOne = [&](const auto& field) {
    if (field.presence != Presence::optional) return;
    T record = sample::record<T>();
    record.*field.member = {};
    check(field.name, record);
  };
  std::apply([&](const auto&... field) { (omitOne(field), ...); }, FieldTable<T>::fields);
}

TEST(FieldTest, ARowSaysItsNameItsMemberItsMeaningAndItsPresence) {
  const auto required = requiredField("mode", &HoldState::mode, "The mode.");
  EXPECT_EQ(required.name, "mode");
  EXPECT_EQ(required.member, &HoldState::mode);
  EXPECT_EQ(required.description, "The mode.");
  EXPECT_EQ(required.presence, Presence::required);
  EXPECT_EQ(optionalField("leaseID", &HoldState::leaseID, "").presence, Presence::optional);
  EXPECT_EQ(defaultedField("micMuted", &HoldState::micMuted, "").presence, Presence::defaulted);
}

template <class T>
concept Equatable = requires(const T& value) { value == value; };

template <class T>
concept Hashable = std::is_default_constructible_v<std::hash<T>>;

static_assert(Equatable<CameraInfo> && Hashable<CameraInfo>);
static_assert(Equatable<TargetService> && Hashable<TargetService>);
static_assert(Equatable<LaunchdServiceState> && Hashable<LaunchdServiceState>);
static_assert(Equatable<DetectionResult> && !Hashable<DetectionResult>);
static_assert(!Equatable<HoldRequest> && !Hashable<HoldRequest>);
static_assert(Equatable<HeldTarget> && Hashable<HeldTarget>);
static_assert(Equatable<HoldState> && !Hashable<HoldState>);
static_assert(Equatable<OperationResult> && !Hashable<OperationResult>);

template <class T>
class RecordEqualityTest : public testing::Test {};

using EquatableRecords = testing::Types<CameraInfo, TargetService, LaunchdServiceState,
                                        DetectionResult, HeldTarget, HoldState, OperationResult>;
TYPED_TEST_SUITE(RecordEqualityTest, EquatableRecords);

TYPED_TEST(RecordEqualityTest, RecordsWithTheSameFieldsAreEqual) {
  EXPECT_EQ(sample::record<TypeParam>(), sample::record<TypeParam>());
}

TYPED_TEST(RecordEqualityTest, EveryFieldTakesPart) {
  forEachChangedField<TypeParam>([](std::string_view field, const TypeParam& other) {
    EXPECT_NE(other, sample::record<TypeParam>()) << field;
  });
}

TYPED_TEST(RecordEqualityTest, AnAbsentValueIsUnequalToAPresentOne) {
  forEachOmittedField<TypeParam>([](std::string_view field, const TypeParam& other) {
    EXPECT_NE(other, sample::record<TypeParam>()) << field;
  });
}

TYPED_TEST(RecordEqualityTest, AbsentValuesAreEqual) {
  forEachOmittedField<TypeParam>([](std::string_view field, const TypeParam& other) {
    EXPECT_EQ(other, TypeParam(other)) << field;
  });
}

template <class T>
class RecordHashTest : public testing::Test {};

using HashableRecords = testing::Types<CameraInfo, TargetService, LaunchdServiceState, HeldTarget>;
TYPED_TEST_SUITE(RecordHashTest, HashableRecords);

TYPED_TEST(RecordHashTest, EqualRecordsHaveEqualHashes) {
  const std::hash<TypeParam> hash;
  EXPECT_EQ(hash(sample::record<TypeParam>()), hash(sample::record<TypeParam>()));
}

TYPED_TEST(RecordHashTest, EveryFieldTakesPart) {
  const std::hash<TypeParam> hash;
  forEachChangedField<TypeParam>([&](std::string_view field, const TypeParam& other) {
    EXPECT_NE(hash(other), hash(sample::record<TypeParam>())) << field;
  });
}

TYPED_TEST(RecordHashTest, AnAbsentValueHashesDifferently) {
  const std::hash<TypeParam> hash;
  forEachOmittedField<TypeParam>([&](std::string_view field, const TypeParam& other) {
    EXPECT_NE(hash(other), hash(sample::record<TypeParam>())) << field;
  });
}

TEST(CameraInfoHashTest, TheOrderOfTheFieldsTakesPart) {
  CameraInfo other = sample::camera();
  std::swap(other.modelID, other.uniqueID);
  EXPECT_NE(std::hash<CameraInfo>{}(other), std::hash<CameraInfo>{}(sample::camera()));
}

struct OneMember {
  int first;
};
struct TwoMembers {
  int first;
  int second;
};
struct ConstructedFromOne {
  explicit ConstructedFromOne(int value) : first(value) {}
  int first;
  int second = 0;
};
}  // namespace

template <>
struct FieldTable<OneMember> {
  static constexpr std::tuple fields{requiredField("first", &OneMember::first, "The only row.")};
};
template <>
struct FieldTable<TwoMembers> {
  static constexpr std::tuple fields{requiredField("first", &TwoMembers::first, "The only row.")};
};
template <>
struct FieldTable<ConstructedFromOne> {
  static constexpr std::tuple fields{
      requiredField("first", &ConstructedFromOne::first, "The only row.")};
};

namespace {
TEST(FieldTableTest, CoversEveryMemberWhenThereAreAsManyRows) {
  EXPECT_TRUE(tableCoversEveryMember<OneMember>());
}

TEST(FieldTableTest, DoesNotCoverAMemberWithoutARow) {
  EXPECT_FALSE(tableCoversEveryMember<TwoMembers>());
}

TEST(FieldTableTest, DoesNotCoverAMemberThatTheConstructorLeavesOut) {
  EXPECT_FALSE(tableCoversEveryMember<ConstructedFromOne>());
}
}  // namespace
}  // namespace blindfold
