#include "blindfold/authorization/bundle_execution_context.h"

#include <cstdint>

#include "blindfold/platform/file_url.h"

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

std::optional<BundleExecutionContext> bundleExecutionContext(std::string_view executablePath,
                                                             const FileManager& fileManager,
                                                             const BundleProvider& bundles) {
  const FileURL executableURL = fileURLWithPath(executablePath, fileManager);
  const FileURL macOSURL = executableURL.deletingLastPathComponent();
  const FileURL contentsURL = macOSURL.deletingLastPathComponent();
  const FileURL appURL = contentsURL.deletingLastPathComponent();
  if (appURL.pathExtension() != "app") return std::nullopt;

  const auto bundle = bundles.bundleWithURL(appURL);
  return BundleExecutionContext{
      .appURL = appURL,
      .contentsURL = contentsURL,
      .macOSURL = macOSURL,
      .executableURL = executableURL,
      .bundleIdentifier = bundle == nullptr ? std::nullopt : bundle->bundleIdentifier(),
      .executableName = std::string(executableURL.lastPathComponent()),
  };
}

bool hasSecureExecutablePath(const BundleExecutionContext& context,
                             const FileManager& fileManager) {
  return isSecure(context.appURL, FileType::directory, fileManager) &&
         isSecure(context.contentsURL, FileType::directory, fileManager) &&
         isSecure(context.macOSURL, FileType::directory, fileManager) &&
         isSecure(context.executableURL, FileType::regular, fileManager);
}

}  // namespace blindfold
