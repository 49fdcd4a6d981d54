#pragma once

#include <string>

namespace blindfold {

/// Makes SIGTERM, SIGINT and SIGHUP end the process at once with status 0, even while a system call
/// waits; SIGHUP stays ignored where it was (nohup(1)). Writing to a pipe without a reader
/// (SIGPIPE) or beyond a file's size limit (SIGXFSZ) becomes an error of the write.
void endOnTerminationSignals();

/// A file that goes away with the process: the destructor removes it, and so does a signal that
/// ends the process. One exists at a time, in a process with one thread.
class EphemeralFile {
 public:
  /// Removes the file at `path` in the end, which need not exist yet.
  explicit EphemeralFile(std::string path);
  EphemeralFile(const EphemeralFile&) = delete;
  EphemeralFile& operator=(const EphemeralFile&) = delete;
  ~EphemeralFile();

 private:
  std::string path_;
};

}  // namespace blindfold
