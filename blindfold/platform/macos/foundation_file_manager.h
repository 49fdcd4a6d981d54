#pragma once

#include "blindfold/platform/file_manager.h"

namespace blindfold {

/// `NSFileManager`'s default manager.
class FoundationFileManager final : public FileManager {
 public:
  bool isExecutableFile(const std::string& path) const override;
  std::optional<FileAttributes> attributesOfItem(const std::string& path) const override;
  std::string currentDirectoryPath() const override;
};

}  // namespace blindfold
