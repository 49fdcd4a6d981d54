#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "blindfold/platform/platform_error.h"

namespace blindfold {

/// A command line or a script that cannot be used. `what()` is one line that says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The most bytes of a word that a message quotes.
inline constexpr std::size_t maximumQuotation = 120;

/// The beginning of `word` between quotation marks, as part of a one-line message.
std::string quoted(std::string_view word);

/// The whole of `path` between quotation marks, as part of a one-line message.
std::string quotedPath(std::string_view path);

/// The error of the system call that has just failed, as one line: "ACTION: the system's text for
/// errno".
PlatformError systemFailure(const std::string& action);

/// Writes `text` to standard output. Throws `PlatformError` when that fails.
void print(const std::string& text);

}  // namespace blindfold
