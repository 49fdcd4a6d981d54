#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/helper_connection.h"

namespace blindfold {

/// The bytes of a frame before its payload.
inline constexpr std::size_t frameHeaderSize = 12;

/// The most bytes that a frame may carry: 64 MiB.
inline constexpr std::size_t maximumFramePayload = std::size_t{64} * 1024 * 1024;

/// What a frame carries: a call, its reply's bytes, or the text of an error in place of a reply.
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
Bytes encodeFrame(const Frame& frame);

/// The payload of the request frame for `message`, and back. Decoding throws `PlatformError` with a
/// one-line text for anything but an encoded message whose argument fits its method.
Bytes encodeMessage(const HelperMessage& message);
HelperMessage decodeMessage(std::string_view payload);

/// Turns bytes as they arrive into frames. It judges a header as soon as it is complete, so a
/// hostile length costs no memory.
class FrameReader {
 public:
  /// Takes the next bytes of the stream.
  void append(std::string_view bytes);

  /// The next complete frame, or nothing yet. Throws `PlatformError` with a one-line text when the
  /// stream is not made of frames; the reader is of no use afterwards.
  std::optional<Frame> next();

 private:
  struct Header {
    FrameKind kind;
    std::size_t length;
  };

  static Header decodeHeader(std::string_view bytes);

  Bytes arrived_;                 // the end of the stream so far
  std::size_t taken_ = 0;         // how many bytes at its beginning are in a frame already
  std::optional<Header> header_;  // of the frame whose payload is being gathered
  Bytes payload_;
};

}  // namespace blindfold
