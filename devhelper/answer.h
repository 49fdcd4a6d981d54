#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

#include "blindfold/platform/helper_connection.h"

namespace blindfold {

/// What becomes of one message.
struct Answer {
  enum class Ending {
    reply,    ///< `bytes` are the reply.
    error,    ///< The message fails; `bytes` describe why.
    silence,  ///< Nothing is ever sent.
    close,    ///< The connection is dropped.
  };

  Ending ending = Ending::reply;
  Bytes bytes = {};
  /// Passes before anything of the above happens.
  std::chrono::nanoseconds delay{0};
  /// The connection is closed after this many bytes of the frame, header included, or after the
  /// whole of a shorter one.
  std::optional<std::size_t> truncation = std::nullopt;
  /// The frame goes out one byte at a time, with this much time between two bytes.
  std::optional<std::chrono::milliseconds> trickle = std::nullopt;

  bool operator==(const Answer&) const = default;
};

}  // namespace blindfold
