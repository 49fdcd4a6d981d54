#pragma once

#include <string_view>

#include "blindfold/platform/file_manager.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {

/// The URL of `path`; one that does not begin with "/" is taken relative to the current directory,
/// which is asked for only then.
inline FileURL fileURLWithPath(std::string_view path, const FileManager& fileManager) {
  if (path.starts_with('/')) return FileURL(path);
  return {path, fileManager.currentDirectoryPath()};
}

}  // namespace blindfold
