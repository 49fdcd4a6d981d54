#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/helper_protocol.h"
#include "blindfold/platform/platform_error.h"
#include "blindfold/text/enumeration_table.h"

namespace blindfold {

/// The bytes of a frame before its payload.
inline constexpr std::size_t frameHeaderSize = 12;

/// The most bytes that a frame may carry: 64 MiB.
inline constexpr std::size_t maximumFramePayload = std::size_t{64} * 1024 * 1024;

/// The content of a frame: a call, its reply's bytes, or the text of an error in place of a reply.
enum class FrameKind : std::uint8_t { request = 1, reply = 2, error = 3 };

/// One frame between tool and helper; docs/transport.md draws its bytes.
struct Frame {
  FrameKind kind;
  Bytes payload;

  bool operator==(const Frame&) const = default;
};

/// The bytes before the payload of a frame. Throws `PlatformError` when the payload is too large.
Bytes encodeFrameHeader(FrameKind kind, std::size_t payloadSize);

/// The frame's bytes, header included. Throws `PlatformError` when the payload is too large.
Bytes encodeFrame(Frame frame);

/// The payload of the request frame for `message`, whose argument is of the kind that its method
/// takes.
Bytes encodeMessage(const HelperMessage& message);

/// The message of a request frame's payload. Throws `PlatformError` with a one-line text when the
/// payload is not an encoded message whose argument is of the kind that its method takes.
HelperMessage decodeMessage(std::string_view payload);

/// A fault of bytes that are not a frame, or not the payload of their frame's kind.
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

/// The faults, each with the line that reports it.
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

/// Decodes frames from the bytes of a stream. A header is checked as soon as it is complete, so a
/// hostile length costs no memory.
class FrameReader {
 public:
  /// Takes the next bytes of the stream.
  void append(std::string_view bytes);

  /// The next complete frame; `std::nullopt` until its last byte has been appended. Throws
  /// `PlatformError` with a one-line text when the stream is malformed; the reader is not used
  /// afterwards.
  std::optional<Frame> next();

 private:
  struct Header {
    FrameKind kind;
    std::size_t length;
  };

  static Header decodeHeader(std::string_view bytes);
  std::size_t appendToPayload(std::string_view bytes, std::size_t length);

  Bytes arrived_;                 ///< The end of the stream so far.
  std::size_t taken_ = 0;         ///< The number of its first bytes that belong to a frame already.
  std::optional<Header> header_;  ///< Of the frame whose payload is incomplete.
  Bytes payload_;
};

}  // namespace blindfold
