#pragma once

#include <string>

namespace blindfold {

/// A new, empty directory that is removed with everything in it. `path()` is absolute.
class TemporaryDirectory {
 public:
  /// Makes it in the system's directory for temporary files.
  TemporaryDirectory();

  /// Makes it in `parent`, an absolute path.
  explicit TemporaryDirectory(const std::string& parent);
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace blindfold
