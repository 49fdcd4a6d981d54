#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/platform/helper_protocol.h"
#include "blindfold/platform/linux/frame.h"
#include "devhelper/answer.h"

namespace blindfold {

/// The most that a script may ask for, and hold.
inline constexpr std::chrono::hours maximumScriptedDelay{24};
inline constexpr std::chrono::minutes maximumTrickleInterval{1};
inline constexpr std::size_t maximumTruncation = frameHeaderSize + maximumFramePayload;
inline constexpr std::size_t maximumScriptSize = std::size_t{128} * 1024 * 1024;

/// How the helper is to answer, method by method.
///
/// A script is text, one directive a line: `SELECTOR ACTION [OPERAND]`, words separated by blanks
/// (spaces and tabs). Blank lines and lines that begin with `#` are skipped. What becomes of the
/// message:
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
class Script {
 public:
  /// A script without directives.
  Script() = default;

  /// Reads all of `text`, and the files that it names. Throws `UsageError` with one line that names
  /// `name`, the line's number and the trouble.
  Script(std::string_view text, std::string_view name);

  /// Reads the script at `path`. Throws `UsageError` as above, and when it cannot be read.
  static Script read(const std::string& path);

  /// The answer whose turn it is for `method`: its directives are used in turn, the last one
  /// repeating. Nothing when it has none.
  std::optional<Answer> next(HelperMethod method);

 private:
  struct Turns {
    std::vector<Answer> answers;
    std::size_t used = 0;
  };

  std::array<Turns, helperProtocol.size()> turns_;
};

}  // namespace blindfold
