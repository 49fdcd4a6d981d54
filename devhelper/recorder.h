#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/posix/file_descriptor.h"

namespace blindfold {

/// The line that stands for a message in a record, line break included: its selector, a tab, the
/// kind of its argument (`none`, `data`, `text`, or `absent` for a text that is not given), a tab,
/// and the argument's bytes. A line break among the bytes is written `\n` and a backslash `\\`, so
/// that a message is always one line; every other byte stands as it is.
std::string recordLine(const HelperMessage& message);

/// A file of the messages received, a line each. A line that was begun and could not be finished
/// never runs into the next one.
class Recorder {
 public:
  /// Appends to the file at `path`, made when there is none, and first ends a last line that has no
  /// line break. A FIFO is waited for until it has a reader. Throws `PlatformError` with a one-line
  /// text when the file cannot be opened or written.
  explicit Recorder(std::string path);

  /// Adds the message's line; it is in the file when this returns. Throws `PlatformError` with a
  /// one-line text when it cannot be written; a regular file is then as it was before.
  void append(const HelperMessage& message);

 private:
  PlatformError failure() const;
  bool endsInsideALine(off_t size) const;
  void write(std::string_view bytes);

  std::string path_;
  FileDescriptor file_;
  bool isRegularFile_ = false;
};

}  // namespace blindfold
