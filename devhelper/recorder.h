#pragma once

#include <string>

#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/linux/file_descriptor.h"

namespace blindfold {

/// The line that stands for a message in a record, line break included: its selector, a tab, the
/// kind of its argument (`none`, `data`, `text`, or `absent` for a text that is not given), a tab,
/// and the argument's bytes. A line break among the bytes is written `\n` and a backslash `\\`, so
/// that a message is always one line; every other byte stands as it is.
std::string recordLine(const HelperMessage& message);

/// A file that keeps every message received.
class Recorder {
 public:
  /// Appends to the file at `path`, made when there is none. Throws `PlatformError` with a one-line
  /// text when it cannot be opened.
  explicit Recorder(std::string path);

  /// Adds the message's line; it is in the file when this returns. Throws as the constructor does.
  void append(const HelperMessage& message);

 private:
  std::string path_;
  FileDescriptor file_;
};

}  // namespace blindfold
