// Presence: each field of each record, a value of it, and a value of another JSON type.

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/record.h"
#include "tests/model/decoding_failure.h"
#include "tests/model/record_texts.h"

namespace blindfold {
namespace {
using Kind = DecodingError::Kind;

struct DocumentedField {
  std::string_view name;
  std::string_view value;
  Presence presence;
  std::string_view wrongValue;
};

template <class T>
std::vector<DocumentedField> documentedFields();

template <>
std::vector<DocumentedField> documentedFields<CameraInfo>() {
  return {{"id", R"("a")", Presence::required, "1"},
          {"localizedName", R"("a")", Presence::required, "true"},
          {"modelID", R"("a")", Presence::required, "[]"},
          {"uniqueID", R"("a")", Presence::required, "{}"},
          {"transportType", R"("a")", Presence::required, "1"},
          {"isConnected", "true", Presence::required, "1"},
          {"isSuspended", "true", Presence::required, R"("true")"},
          {"isInUseByAnotherApplication", "true", Presence::required, "0"},
          {"kind", R"("builtIn")", Presence::required, "0"},
          {"isExperimental", "true", Presence::required, "[]"}};
}

template <>
std::vector<DocumentedField> documentedFields<TargetService>() {
  return {{"label", R"("a")", Presence::required, "1"},
          {"domain", R"("gui")", Presence::required, "1"},
          {"priority", "1", Presence::required, R"("1")"},
          {"pid", "1", Presence::optional, R"("1")"},
          {"controlMode", R"("sigstop")", Presence::required, "false"}};
}

template <>
std::vector<DocumentedField> documentedFields<LaunchdServiceState>() {
  return {{"label", R"("a")", Presence::required, "1"},
          {"domain", R"("gui")", Presence::required, "[]"},
          {"pid", "1", Presence::optional, "true"}};
}

template <>
std::vector<DocumentedField> documentedFields<DetectionResult>() {
  return {{"cameras", "[]", Presence::required, "{}"},
          {"selectedCameraID", R"("a")", Presence::optional, "1"},
          {"resolvedTargets", "[]", Presence::required, R"("")"},
          {"serviceStates", "[]", Presence::required, "0"},
          {"notes", "[]", Presence::required, "false"}};
}

template <>
std::vector<DocumentedField> documentedFields<HoldRequest>() {
  return {{"cameraID", R"("a")", Presence::required, "1"},
          {"kind", R"("builtIn")", Presence::required, "{}"},
          {"targets", "[]", Presence::required, "{}"},
          {"captureWasActiveAtRequestTime", "true", Presence::defaulted, R"("false")"},
          {"durationHint", "30", Presence::required, R"("30")"},
          {"correlationSnapshot", "{}", Presence::required, "[]"}};
}

template <>
std::vector<DocumentedField> documentedFields<HeldTarget>() {
  return {{"label", R"("a")", Presence::required, "1"},
          {"domain", R"("gui")", Presence::required, "1"},
          {"pid", "1", Presence::optional, R"("1")"},
          {"controlMode", R"("sigstop")", Presence::required, "1"}};
}

template <>
std::vector<DocumentedField> documentedFields<HoldState>() {
  return {{"mode", R"("held")", Presence::required, "1"},
          {"leaseID", R"("a")", Presence::optional, "1"},
          {"heldTargets", "[]", Presence::defaulted, "{}"},
          {"startedAt", R"("2025-03-04T10:15:30Z")", Presence::optional, "1741083330"},
          {"lastHeartbeatAt", R"("2025-03-04T10:15:30Z")", Presence::optional, "true"},
          {"sourceCameraID", R"("a")", Presence::optional, "1"},
          {"lastRestoreReason", R"("a")", Presence::optional, "[]"},
          {"micMuted", "true", Presence::defaulted, R"("true")"}};
}

template <>
std::vector<DocumentedField> documentedFields<OperationResult>() {
  return {{"success", "true", Presence::required, "1"},
          {"message", R"("a")", Presence::required, "1"},
          {"holdState", R"({"mode":"held"})", Presence::optional, R"("held")"}};
}

/// The record's text, with `value` for the field `name`, or without that field when it is empty.
template <class T>
std::string textWith(std::string_view name, std::string_view value) {
  std::string text;
  for (const DocumentedField& field : documentedFields<T>()) {
    const std::string_view chosen = field.name == name ? value : field.value;
    if (chosen.empty()) continue;
    text += text.empty() ? "{\"" : ",\"";
    text += field.name;
    text += "\":";
    text += chosen;
  }
  return text.empty() ? "{}" : text + "}";
}

template <class T>
class PresenceTest : public testing::Test {
 public:
  static std::optional<Kind> kindOfFailure(std::string_view name, std::string_view value) {
    const auto failure = failureOfDecoding<T>(textWith<T>(name, value));
    return failure ? std::optional(failure->kind) : std::nullopt;
  }

  static bool isRequired(const DocumentedField& field) {
    return field.presence == Presence::required;
  }
};

using AllRecords = testing::Types<CameraInfo, TargetService, LaunchdServiceState, DetectionResult,
                                  HoldRequest, HeldTarget, HoldState, OperationResult>;
TYPED_TEST_SUITE(PresenceTest, AllRecords);

TYPED_TEST(PresenceTest, ARecordWithAllItsFieldsDecodes) {
  EXPECT_EQ(failureOfDecoding<TypeParam>(textWith<TypeParam>("", "")), std::nullopt);
}

TYPED_TEST(PresenceTest, AnAbsentKeyIsNotFoundWhereItIsRequired) {
  for (const DocumentedField& field : documentedFields<TypeParam>()) {
    EXPECT_EQ(this->kindOfFailure(field.name, ""),
              this->isRequired(field) ? std::optional(Kind::keyNotFound) : std::nullopt)
        << field.name;
  }
}

TYPED_TEST(PresenceTest, ANullIsNoValueWhereOneIsRequired) {
  for (const DocumentedField& field : documentedFields<TypeParam>()) {
    EXPECT_EQ(this->kindOfFailure(field.name, "null"),
              this->isRequired(field) ? std::optional(Kind::valueNotFound) : std::nullopt)
        << field.name;
  }
}

TYPED_TEST(PresenceTest, AValueOfAnotherTypeIsAMismatchWhateverThePresence) {
  for (const DocumentedField& field : documentedFields<TypeParam>()) {
    EXPECT_EQ(this->kindOfFailure(field.name, field.wrongValue), Kind::typeMismatch) << field.name;
  }
}

TYPED_TEST(PresenceTest, TheTableListsTheFieldsInTheDocumentedOrder) {
  const auto documented = documentedFields<TypeParam>();
  ASSERT_EQ(fieldNames<TypeParam>.size(), documented.size());
  for (std::size_t index = 0; index < documented.size(); ++index) {
    EXPECT_EQ(fieldNames<TypeParam>[index], documented[index].name);
  }
}

TYPED_TEST(PresenceTest, UnknownKeysAreIgnored) {
  const std::string text = textWith<TypeParam>("", "");
  const std::string unknown = R"({"unknown":{"id":[1,"}"],"mode":null},"Label":1,"":2,)";
  EXPECT_EQ(failureOfDecoding<TypeParam>(unknown + text.substr(1)), std::nullopt);
}

TYPED_TEST(PresenceTest, TheValueOfAnUnknownKeyMustBeJSON) {
  const std::string text = textWith<TypeParam>("", "");
  const auto failure = failureOfDecoding<TypeParam>(R"({"unknown":nul,)" + text.substr(1));
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->kind, Kind::dataCorrupted);
}

TYPED_TEST(PresenceTest, TheDocumentMustBeAnObject) {
  for (const char* text : {"[]", "1", "\"\"", "true"}) {
    const auto failure = failureOfDecoding<TypeParam>(text);
    ASSERT_TRUE(failure) << text;
    EXPECT_EQ(failure->kind, Kind::typeMismatch) << text;
  }
}
}  // namespace
}  // namespace blindfold
