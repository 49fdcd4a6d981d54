#pragma once

#include <string_view>
#include <system_error>

namespace blindfold {

/// The streams that a process is started with, by their file descriptors.
enum class StandardStream { output = 1, error = 2 };

/// Writes all of `bytes`, and returns how that failed; an error that is not set is none. Where the
/// stream is non-blocking, it waits for room as a blocking one does. The end of a pipe's or
/// socket's reader ends the process unless SIGPIPE is ignored.
///
/// Nothing is buffered, and no memory is needed. Any thread may write; lines of several threads may
/// mix.
std::error_code writeAll(StandardStream stream, std::string_view bytes) noexcept;

/// Closes the stream, and returns what its file system reports only then (a quota, a server out of
/// reach): what was written may not be there.
std::error_code closeStream(StandardStream stream) noexcept;

}  // namespace blindfold
