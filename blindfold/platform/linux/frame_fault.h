#pragma once

#include <string>

#include "blindfold/platform/platform_error.h"
#include "blindfold/text/enumeration_table.h"

namespace blindfold {

/// Every way in which bytes fail to be a frame or the payload of their frame's kind.
enum class FrameFault {
  wrongMark,
  unsupportedVersion,
  unknownKind,
  reservedNotZero,
  payloadTooLarge,
  notAnAnswer,
  errorNotText,
  selectorCutShort,
  argumentKindMissing,
  unknownSelector,
  unknownArgumentKind,
  argumentDoesNotFit,
  bytesWithoutArgument,
};

/// The faults and the one line that reports each.
inline constexpr EnumerationTable frameFaults(
    &EnumerationText<FrameFault>::value,
    {{FrameFault::wrongMark, "Malformed frame: it does not begin with the frame mark."},
     {FrameFault::unsupportedVersion, "Malformed frame: its version is not supported."},
     {FrameFault::unknownKind, "Malformed frame: its kind is unknown."},
     {FrameFault::reservedNotZero, "Malformed frame: its reserved bytes are not zero."},
     {FrameFault::payloadTooLarge, "Malformed frame: its payload is larger than 64 MiB."},
     {FrameFault::notAnAnswer, "Malformed frame: a request stands where a reply belongs."},
     {FrameFault::errorNotText, "Malformed frame: its error is not a text."},
     {FrameFault::selectorCutShort, "Malformed request: its selector is cut short."},
     {FrameFault::argumentKindMissing, "Malformed request: its argument kind is missing."},
     {FrameFault::unknownSelector, "Malformed request: its selector is unknown."},
     {FrameFault::unknownArgumentKind, "Malformed request: its argument kind is unknown."},
     {FrameFault::argumentDoesNotFit, "Malformed request: its argument does not fit its selector."},
     {FrameFault::bytesWithoutArgument, "Malformed request: it carries bytes but no argument."}});

/// The error that reports `fault`.
inline PlatformError platformError(FrameFault fault) {
  return PlatformError{std::string(frameFaults[fault].text)};
}

}  // namespace blindfold
