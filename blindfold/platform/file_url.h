#pragma once

#include <string>
#include <string_view>

namespace blindfold {

/// A place in the file system, as a file URL names it: an absolute path, taken apart and put
/// together by components. A plain value; nothing here looks at the file system. Path bytes are
/// kept as they are (no normalisation, no lossy conversion); only trailing slashes are dropped,
/// except that of the root.
class FileURL {
 public:
  /// The URL of `path`. A path that does not begin with "/" is taken relative to
  /// `currentDirectory`, which must be absolute.
  FileURL(std::string_view path, std::string_view currentDirectory);

  /// The URL of `absolutePath`, which must begin with "/".
  explicit FileURL(std::string_view absolutePath);

  const std::string& path() const { return path_; }

  /// This URL with one more component.
  FileURL appendingPathComponent(std::string_view component) const;

  /// This URL without its last component; the root's parent is the root.
  FileURL deletingLastPathComponent() const;

  /// What follows the last slash; "/" for the root.
  std::string_view lastPathComponent() const;

  /// What follows the last full stop of the last component, as it is spelled; empty when there is
  /// none, when nothing follows it, or when it begins the name (".app" has no extension).
  std::string_view pathExtension() const;

  bool operator==(const FileURL&) const = default;

 private:
  std::string path_;
};

}  // namespace blindfold
