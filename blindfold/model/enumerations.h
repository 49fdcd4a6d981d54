#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <type_traits>

namespace blindfold {

/// What sort of camera a device is. `unknown` is an answer like the others, given for a camera that
/// the helper cannot classify; it is not a refuge for words that are not in the table.
enum class CameraKind { builtIn, externalUSB, continuity, unknown };

/// The launchd domain that a service lives in.
enum class ServiceDomain { system, gui };

/// The way in which the helper pauses a held service.
enum class ControlMode { sigstop, sigtermDebug };

/// An enumeration's name and cases, in the order of their declaration, each with its raw value: the
/// string that stands for it in JSON. Defined for the enumerations of this file only.
template <class E>
struct EnumerationTable;

template <class E>
struct EnumerationCase {
  E value;
  std::string_view rawValue;
};

template <>
struct EnumerationTable<CameraKind> {
  static constexpr std::string_view name = "CameraKind";
  static constexpr std::array<EnumerationCase<CameraKind>, 4> cases{{
      {CameraKind::builtIn, "builtIn"},
      {CameraKind::externalUSB, "externalUSB"},
      {CameraKind::continuity, "continuity"},
      {CameraKind::unknown, "unknown"},
  }};
};

template <>
struct EnumerationTable<ServiceDomain> {
  static constexpr std::string_view name = "ServiceDomain";
  static constexpr std::array<EnumerationCase<ServiceDomain>, 2> cases{{
      {ServiceDomain::system, "system"},
      {ServiceDomain::gui, "gui"},
  }};
};

template <>
struct EnumerationTable<ControlMode> {
  static constexpr std::string_view name = "ControlMode";
  static constexpr std::array<EnumerationCase<ControlMode>, 2> cases{{
      {ControlMode::sigstop, "sigstop"},
      {ControlMode::sigtermDebug, "sigtermDebug"},
  }};
};

template <class E>
concept Enumeration = std::is_enum_v<E> && requires { EnumerationTable<E>::cases; };

/// The string that stands for `value`, one of the enumeration's cases.
template <Enumeration E>
constexpr std::string_view rawValue(E value) {
  return EnumerationTable<E>::cases[static_cast<std::size_t>(value)].rawValue;
}

/// The case whose raw value equals `text` exactly, or nothing.
template <Enumeration E>
constexpr std::optional<E> fromRawValue(std::string_view text) {
  constexpr auto& cases = EnumerationTable<E>::cases;
  const auto found = std::find_if(cases.begin(), cases.end(),
                                  [text](const auto& each) { return each.rawValue == text; });
  if (found == cases.end()) return std::nullopt;
  return found->value;
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
