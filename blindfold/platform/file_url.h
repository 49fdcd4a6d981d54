#pragma once

#include <string>
#include <string_view>

namespace blindfold {

class FileManager;

/// A file URL: an absolute path, split and joined by components. A plain value; no operation looks
/// at the file system. Path bytes are kept unchanged (no normalisation, no lossy conversion) but
/// for trailing slashes, which are dropped except that of the root.
class FileURL {
 public:
  /// `absolutePath` begins with "/".
  explicit FileURL(std::string_view absolutePath);

  const std::string& path() const { return path_; }

  /// This URL with `component` appended behind one slash.
  FileURL appendingPathComponent(std::string_view component) const;

  /// This URL without its last component; the root's parent is the root.
  FileURL deletingLastPathComponent() const;

  /// The part after the last slash; "/" for the root. Points into this URL.
  std::string_view lastPathComponent() const;

  /// The part of the last component after its last full stop, in its own case; empty when there is
  /// no full stop, nothing follows it, or it begins the name (".app" has no extension). Points into
  /// this URL.
  std::string_view pathExtension() const;

  bool operator==(const FileURL&) const = default;

 private:
  std::string path_;
};

/// The URL of `path`. A path that does not begin with "/" is relative to the current directory,
/// which is read only then.
FileURL fileURLWithPath(std::string_view path, const FileManager& fileManager);

}  // namespace blindfold
