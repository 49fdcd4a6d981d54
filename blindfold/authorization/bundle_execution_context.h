#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/bundle.h"
#include "blindfold/platform/file_manager.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {

/// The application bundle that an executable's path implies: X.app/*/*/executable.
struct BundleExecutionContext {
  /// The directory three levels above the executable; its extension is "app".
  FileURL appURL;
  /// The directory two levels above the executable, whatever its name.
  FileURL contentsURL;
  /// The directory that holds the executable, whatever its name.
  FileURL macOSURL;
  FileURL executableURL;
  /// The identifier that the bundle at `appURL` declares. No decision depends on it.
  std::optional<std::string> bundleIdentifier;
  /// The executable's file name.
  std::string executableName;

  bool operator==(const BundleExecutionContext&) const = default;
};

/// The context of the executable at `executablePath`; `std::nullopt` when the extension of the
/// directory three levels up is not "app" (in lower case). Compares names only, then opens the
/// bundle for its identifier. Never fails.
std::optional<BundleExecutionContext> bundleExecutionContext(std::string_view executablePath,
                                                             const FileManager& fileManager,
                                                             const BundleProvider& bundles);

/// Whether the three directories of `context` are directories and its executable is a regular file,
/// none of them a symbolic link nor writable by its group or by others. Owners, other mode bits and
/// the directories above the application do not count. Reads the attributes of each item once, from
/// the application down to the executable, up to the first that fails; an item that cannot be read
/// fails.
bool hasSecureExecutablePath(const BundleExecutionContext& context, const FileManager& fileManager);

}  // namespace blindfold
