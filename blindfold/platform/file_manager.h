#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace blindfold {

/// The type of an item; `other` is every type that this program never asks for.
enum class FileType { regular, directory, symbolicLink, other };

/// An item's attributes, each absent when the platform does not report it.
struct FileAttributes {
  std::optional<FileType> type;
  std::optional<std::uint64_t> posixPermissions;

  bool operator==(const FileAttributes&) const = default;
};

/// Questions about the file system. Read-only. Any thread may call; no operation throws, and none
/// caches. Paths are bytes in the file system's own representation; no item has one with a NUL
/// byte.
class FileManager {
 public:
  FileManager() = default;
  FileManager(const FileManager&) = delete;
  FileManager& operator=(const FileManager&) = delete;
  virtual ~FileManager() = default;

  /// Whether this process may execute the item at `path`, following symbolic links. A directory
  /// that may be searched counts: the answer is the one of access(2) with X_OK.
  virtual bool isExecutableFile(const std::string& path) const = 0;

  /// The attributes of the item at `path` itself (a symbolic link is not followed);
  /// `std::nullopt` when they cannot be read.
  virtual std::optional<FileAttributes> attributesOfItem(const std::string& path) const = 0;

  /// The process's current directory, an absolute path; "/" when it cannot be read.
  virtual std::string currentDirectoryPath() const = 0;
};

}  // namespace blindfold
