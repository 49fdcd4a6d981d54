#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/helper_protocol.h"

namespace blindfold {

/// The bounds of a script's operands, of a reply or an error in it, and of its own size.
inline constexpr std::chrono::hours maximumScriptedDelay{24};
inline constexpr std::chrono::minutes maximumTrickleInterval{1};
inline constexpr std::size_t maximumAnswerSize = std::size_t{64} * 1024 * 1024;
inline constexpr std::size_t maximumTruncation = maximumAnswerSize + 12;  ///< A whole frame.
inline constexpr std::size_t maximumScriptSize = std::size_t{128} * 1024 * 1024;

/// Immutable bytes, which copies share.
class SharedBytes {
 public:
  SharedBytes() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): the same bytes, owned by several.
  SharedBytes(Bytes bytes) : bytes_(std::make_shared<const Bytes>(std::move(bytes))) {}

  std::string_view view() const { return bytes_ ? std::string_view(*bytes_) : std::string_view(); }

  /// Whether another `SharedBytes` owns the same bytes too.
  bool isShared() const { return bytes_.use_count() > 1; }

  bool operator==(const SharedBytes& other) const { return view() == other.view(); }

 private:
  std::shared_ptr<const Bytes> bytes_;  ///< Null when there are none.
};

/// The answer to one message.
struct Answer {
  enum class Ending {
    reply,    ///< `bytes` are the reply.
    error,    ///< The message fails; `bytes` describe why.
    silence,  ///< Nothing is ever sent.
    close,    ///< The connection is dropped.
  };

  Ending ending = Ending::reply;
  SharedBytes bytes = {};
  /// The time before the ending.
  std::chrono::nanoseconds delay{0};
  /// The connection is closed after this many bytes of the frame, header included, or after the
  /// whole of a shorter one.
  std::optional<std::size_t> truncation = std::nullopt;
  /// The time between two bytes of the frame, which is then sent one byte at a time.
  std::optional<std::chrono::milliseconds> trickle = std::nullopt;

  bool operator==(const Answer&) const = default;
};

/// How messages and their answers travel: as frames of bytes, of which a script may send a part, or
/// whole, as XPC carries them.
enum class Carrier { frames, messages };

/// How the helper is to answer, method by method.
///
/// A script is text, one directive a line: `SELECTOR ACTION [OPERAND]`, words separated by blanks
/// (spaces and tabs). Blank lines and lines that begin with `#` are skipped. The actions:
///
/// - `reply TEXT`: the rest of the line, after one blank, is the reply, byte for byte.
/// - `reply-file PATH`: the bytes of the file, read together with the script, are the reply.
/// - `error TEXT`: it fails, and the rest of the line describes why.
/// - `silent`: it is never answered.
/// - `close`: the connection is dropped.
/// - `delay SECONDS ACTION`: the action follows later.
/// - `truncate N ACTION`: the first N bytes of the action's frame go out, then the connection ends.
/// - `trickle MILLISECONDS ACTION`: the action's frame goes out byte by byte, that far apart.
///
/// Where actions are nested their order does not matter: delays add up, the shortest truncation and
/// the slowest trickle count. `silent` and `close` send no frame, so nothing but a delay applies.
/// Where messages travel whole there are no frames to truncate or to trickle, and no error is sent
/// but the system's own, so that `error` is not an action either.
class Script {
 public:
  /// A script without directives.
  Script() = default;

  /// Reads all of `text`, and the files that it names. Throws `UsageError` with one line that names
  /// `name`, the line's number and what is wrong with it.
  Script(std::string_view text, std::string_view name, Carrier carrier = Carrier::frames);

  /// Reads the script at `path`. Throws `UsageError` as above, and when it cannot be read.
  static Script read(const std::string& path, Carrier carrier = Carrier::frames);

  /// The answer whose turn it is for `method`: its directives are used in turn, the last one
  /// repeating. `std::nullopt` when it has none.
  std::optional<Answer> next(HelperMethod method);

 private:
  struct Turns {
    std::vector<Answer> answers;
    std::size_t used = 0;
  };

  std::array<Turns, helperProtocol.size()> turns_;
};

}  // namespace blindfold
