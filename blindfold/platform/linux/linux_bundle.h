#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "blindfold/platform/bundle.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {

/// The information property list that the build linked into this program
/// (cmake/BlindfoldDeployment.cmake), byte for byte; empty when it linked none.
std::string_view linkedPropertyList();

/// The size in bytes up to which the information property list of a bundle is read.
inline constexpr std::size_t maximumInfoFileSize = std::size_t{4} * 1024 * 1024;

/// The directory of the bundle whose executable is at `executableURL`: X.app for one in
/// X.app/Contents/MacOS, else the directory that holds it.
FileURL bundleURLOfExecutable(const FileURL& executableURL);

/// Bundles on Linux. A bundle's info dictionary is the XML property list in the regular file
/// Contents/Info.plist, read when the bundle is opened; it is empty when that file is missing,
/// malformed or too long. The main bundle's is the property list that was linked into the program,
/// if one was, and is read at its first use.
class LinuxBundleProvider final : public BundleProvider {
 public:
  LinuxBundleProvider();

  const Bundle& mainBundle() const override { return *mainBundle_; }
  std::unique_ptr<Bundle> bundleWithURL(const FileURL& url) const override;

 private:
  std::unique_ptr<const Bundle> mainBundle_;
};

}  // namespace blindfold
