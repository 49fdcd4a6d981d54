#include "blindfold/authorization/secure_executable_path.h"

#include <cstdint>

namespace blindfold {
namespace {
constexpr std::uint64_t writableByGroupOrOthers = 022;

bool isSecure(const FileURL& url, FileType requiredType, const FileManager& fileManager) {
  const auto attributes = fileManager.attributesOfItem(url.path());
  if (!attributes) return false;
  if (attributes->type != requiredType) return false;
  if (!attributes->posixPermissions) return false;
  return (*attributes->posixPermissions & writableByGroupOrOthers) == 0;
}
}  // namespace

bool hasSecureExecutablePath(const BundleExecutionContext& context,
                             const FileManager& fileManager) {
  return isSecure(context.appURL, FileType::directory, fileManager) &&
         isSecure(context.contentsURL, FileType::directory, fileManager) &&
         isSecure(context.macOSURL, FileType::directory, fileManager) &&
         isSecure(context.executableURL, FileType::regular, fileManager);
}

}  // namespace blindfold
