#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

#include "blindfold/text/enumeration_table.h"

/// The enumerations of the records' fields. The JSON form of a case is a string, its raw value.
namespace blindfold {

/// The kind of a camera. `unknown` is the helper's answer for a camera that it cannot classify; a
/// raw value that is not in the table does not become `unknown`.
enum class CameraKind { builtIn, externalUSB, continuity, unknown };

/// The launchd domain of a service.
enum class ServiceDomain { system, gui };

/// The way in which the helper pauses a held service.
enum class ControlMode { sigstop, sigtermDebug };

/// One row of an enumeration's table of raw values.
template <class E>
struct RawValue {
  E value;
  std::string_view text;
  /// For the documents about the JSON form, as in a record's field table.
  std::string_view description;
};

/// The name of the enumeration `E` in error texts, its description, and the raw value of each of
/// its cases. Defined for the enumerations of this file only.
template <class E>
struct EnumerationCoding;

template <>
struct EnumerationCoding<CameraKind> {
  static constexpr std::string_view name = "CameraKind";
  static constexpr std::string_view description = "The kind of a camera.";
  static constexpr EnumerationTable rawValues{
      &RawValue<CameraKind>::value,
      {{CameraKind::builtIn, "builtIn", "Built into the Mac; the kind that `hold-built-in` holds."},
       {CameraKind::externalUSB, "externalUSB", "Connected by USB."},
       {CameraKind::continuity, "continuity", "The camera of a phone nearby."},
       {CameraKind::unknown, "unknown", "The helper cannot classify the camera."}}};
};

template <>
struct EnumerationCoding<ServiceDomain> {
  static constexpr std::string_view name = "ServiceDomain";
  static constexpr std::string_view description = "The launchd domain of a service.";
  static constexpr EnumerationTable rawValues{
      &RawValue<ServiceDomain>::value,
      {{ServiceDomain::system, "system", "A daemon of the system."},
       {ServiceDomain::gui, "gui", "An agent of a user's login session."}}};
};

template <>
struct EnumerationCoding<ControlMode> {
  static constexpr std::string_view name = "ControlMode";
  static constexpr std::string_view description = "How the helper pauses a service.";
  static constexpr EnumerationTable rawValues{
      &RawValue<ControlMode>::value,
      {{ControlMode::sigstop, "sigstop", "With the signal SIGSTOP."},
       {ControlMode::sigtermDebug, "sigtermDebug", "With the signal SIGTERM; for debugging."}}};
};

/// An enumeration that a field of a record can have.
template <class E>
concept Enumeration = requires { EnumerationCoding<E>::rawValues; };

/// The raw value of `value`, which must be one of the enumeration's cases.
template <Enumeration E>
constexpr std::string_view rawValue(E value) {
  return EnumerationCoding<E>::rawValues[value].text;
}

/// The case whose raw value equals `text` exactly, or `std::nullopt`.
template <Enumeration E>
constexpr std::optional<E> fromRawValue(std::string_view text) {
  for (const auto& row : EnumerationCoding<E>::rawValues) {
    if (row.text == text) return row.value;
  }
  return std::nullopt;
}

/// Hashes an enumeration by its raw value.
template <Enumeration E>
struct RawValueHash {
  std::size_t operator()(E value) const noexcept {
    return std::hash<std::string_view>{}(rawValue(value));
  }
};

}  // namespace blindfold

template <>
struct std::hash<blindfold::CameraKind> : blindfold::RawValueHash<blindfold::CameraKind> {};
template <>
struct std::hash<blindfold::ServiceDomain> : blindfold::RawValueHash<blindfold::ServiceDomain> {};
template <>
struct std::hash<blindfold::ControlMode> : blindfold::RawValueHash<blindfold::ControlMode> {};
