#include "blindfold/authorization/bundle_execution_context.h"

#include "blindfold/platform/file_url.h"

namespace blindfold {

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

}  // namespace blindfold
