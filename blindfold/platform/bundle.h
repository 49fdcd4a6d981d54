#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/dictionary_value.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {

/// A bundle: a directory, its info dictionary and its executable. Any thread may call; nothing
/// throws. What a bundle answers is read afresh or never changes, as its platform has it.
class Bundle {
 public:
  Bundle() = default;
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;
  virtual ~Bundle() = default;

  /// The info dictionary's value under `key`, or nothing when it has none.
  virtual std::optional<DictionaryValue> objectForInfoDictionaryKey(std::string_view key) const = 0;

  /// The bundle's directory.
  virtual FileURL bundleURL() const = 0;

  /// The info dictionary's "CFBundleIdentifier", or nothing when it declares none.
  virtual std::optional<std::string> bundleIdentifier() const = 0;

  /// The bundle's executable, or nothing when it cannot be told.
  virtual std::optional<FileURL> executableURL() const = 0;
};

/// Where bundles come from. Any thread may call.
class BundleProvider {
 public:
  BundleProvider() = default;
  BundleProvider(const BundleProvider&) = delete;
  BundleProvider& operator=(const BundleProvider&) = delete;
  virtual ~BundleProvider() = default;

  /// The running program's own bundle, which lives as long as the process.
  virtual const Bundle& mainBundle() const = 0;

  /// The bundle at `url`, read now; null when there is no directory there that can be opened.
  virtual std::unique_ptr<Bundle> bundleWithURL(const FileURL& url) const = 0;
};

}  // namespace blindfold
