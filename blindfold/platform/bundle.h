#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/dictionary_value.h"
#include "blindfold/platform/file_url.h"

namespace blindfold {

/// A bundle: a directory, its info dictionary and its executable. Any thread may call; no operation
/// throws. The platform decides whether an answer is read anew or kept from when the bundle was
/// opened.
class Bundle {
 public:
  Bundle() = default;
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;
  virtual ~Bundle() = default;

  /// The info dictionary's value under `key`; `std::nullopt` when there is none.
  virtual std::optional<DictionaryValue> objectForInfoDictionaryKey(std::string_view key) const = 0;

  /// The bundle's directory.
  virtual FileURL bundleURL() const = 0;

  /// The info dictionary's "CFBundleIdentifier"; `std::nullopt` when it declares none.
  virtual std::optional<std::string> bundleIdentifier() const = 0;

  /// The bundle's executable; `std::nullopt` when the platform reports none.
  virtual std::optional<FileURL> executableURL() const = 0;
};

/// Opens bundles. Any thread may call.
class BundleProvider {
 public:
  BundleProvider() = default;
  BundleProvider(const BundleProvider&) = delete;
  BundleProvider& operator=(const BundleProvider&) = delete;
  virtual ~BundleProvider() = default;

  /// The running program's own bundle. Lives as long as this object.
  virtual const Bundle& mainBundle() const = 0;

  /// The bundle in the directory at `url`, owned by the caller; null when that cannot be opened.
  virtual std::unique_ptr<Bundle> bundleWithURL(const FileURL& url) const = 0;
};

}  // namespace blindfold
