#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/model/json/json_decoder.h"
#include "tests/model/decoding_failure.h"

namespace blindfold {

/// The record that `text` encodes. Throws `DecodingError`.
template <Record T>
T decode(std::string_view text) {
  return JSONDecoder().decode<T>(text);
}

/// The error of decoding `text`, or `std::nullopt` when it decodes.
template <Record T>
std::optional<DecodingFailure> failureOfDecoding(std::string_view text) {
  return failureOf([text] { decode<T>(text); });
}

/// `text` with the first `old`, which it has, replaced.
inline std::string replaced(std::string text, std::string_view old, std::string_view with) {
  const std::size_t position = text.find(old);
  EXPECT_NE(position, std::string::npos) << old;
  return text.replace(position, old.size(), with);
}

// The texts of the sample records.

inline const std::string cameraText =
    R"({"id":"CAM-0001","localizedName":"Front Camera","modelID":"MODEL-1","uniqueID":"UNIQUE-1",)"
    R"("transportType":"usb","isConnected":true,"isSuspended":false,)"
    R"("isInUseByAnotherApplication":true,"kind":"continuity","isExperimental":false})";
inline const std::string targetText =
    R"({"label":"com.apple.appleh13camerad","domain":"gui","priority":-3,"pid":512,)"
    R"("controlMode":"sigtermDebug"})";
inline const std::string serviceStateText =
    R"({"label":"com.apple.appleh14camerad","domain":"gui","pid":513})";
inline const std::string detectionText =
    R"({"cameras":[)" + cameraText + R"(],"selectedCameraID":"CAM-0002","resolvedTargets":[)" +
    targetText + R"(],"serviceStates":[)" + serviceStateText + R"(],"notes":["first","second"]})";
inline const std::string holdRequestText =
    R"({"cameraID":"CAM-0003","kind":"externalUSB","targets":[)" + targetText +
    R"(],"captureWasActiveAtRequestTime":true,"durationHint":30.5,)"
    R"("correlationSnapshot":{"one":1,"two":2}})";
inline const std::string heldTargetText =
    R"({"label":"com.apple.appleh15camerad","domain":"gui","pid":514,"controlMode":"sigtermDebug"})";
inline const std::string holdStateText =
    R"({"mode":"held","leaseID":"LEASE-1","heldTargets":[)" + heldTargetText +
    R"(],"startedAt":"2025-03-04T10:15:00Z","lastHeartbeatAt":"2025-03-04T10:15:30Z",)"
    R"("sourceCameraID":"CAM-0004","lastRestoreReason":"lease expired","micMuted":true})";
inline const std::string operationResultText =
    R"({"success":true,"message":"Camera is held.","holdState":)" + holdStateText + "}";

}  // namespace blindfold
