#include "blindfold/platform/linux/linux_file_manager.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace blindfold {
namespace {
/// The permission bits, with the set-id bits and the sticky bit.
constexpr mode_t permissionMask = 07777;

bool canNameAnItem(const std::string& path) {
  return path.find('\0') == std::string::npos;
}

FileType fileType(mode_t mode) {
  if (S_ISREG(mode)) return FileType::regular;
  if (S_ISDIR(mode)) return FileType::directory;
  if (S_ISLNK(mode)) return FileType::symbolicLink;
  return FileType::other;
}
}  // namespace

bool LinuxFileManager::isExecutableFile(const std::string& path) const {
  return canNameAnItem(path) && access(path.c_str(), X_OK) == 0;
}

std::optional<FileAttributes> LinuxFileManager::attributesOfItem(const std::string& path) const {
  struct stat status{};
  if (!canNameAnItem(path) || lstat(path.c_str(), &status) != 0) return std::nullopt;
  return FileAttributes{fileType(status.st_mode), status.st_mode & permissionMask};
}

std::string LinuxFileManager::currentDirectoryPath() const {
  std::string path(PATH_MAX, '\0');
  while (getcwd(path.data(), path.size()) == nullptr) {
    if (errno != ERANGE) return "/";
    path.resize(path.size() * 2);
  }
  path.resize(path.find('\0'));
  return path;
}

}  // namespace blindfold
