#pragma once

#include "blindfold/platform/file_manager.h"

namespace blindfold {

/// The file system by way of access(2), lstat(2) and getcwd(3).
class LinuxFileManager final : public FileManager {
 public:
  bool isExecutableFile(const std::string& path) const override;
  std::optional<FileAttributes> attributesOfItem(const std::string& path) const override;
  std::string currentDirectoryPath() const override;
};

}  // namespace blindfold
