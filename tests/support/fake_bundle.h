#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "blindfold/platform/bundle.h"

namespace blindfold {

/// A bundle whose answers are its fields. It remembers which keys were asked for, in order.
class FakeBundle : public Bundle {
 public:
  using Dictionary = std::map<std::string, DictionaryValue, std::less<>>;

  FakeBundle() = default;
  explicit FakeBundle(Dictionary infoDictionary) : dictionary(std::move(infoDictionary)) {}

  Dictionary dictionary;
  FileURL url{"/Applications/Blindfold.app"};
  std::optional<FileURL> executable;

  std::optional<DictionaryValue> objectForInfoDictionaryKey(std::string_view key) const override {
    const std::lock_guard lock(mutex_);
    askedKeys_.emplace_back(key);
    const auto entry = dictionary.find(key);
    if (entry == dictionary.end()) return std::nullopt;
    return entry->second;
  }

  FileURL bundleURL() const override { return url; }

  std::optional<std::string> bundleIdentifier() const override {
    const auto entry = dictionary.find("CFBundleIdentifier");
    if (entry == dictionary.end()) return std::nullopt;
    const auto* const identifier = std::get_if<std::string>(&entry->second);
    return identifier == nullptr ? std::nullopt : std::optional(*identifier);
  }

  std::optional<FileURL> executableURL() const override { return executable; }

  std::vector<std::string> askedKeys() const {
    const std::lock_guard lock(mutex_);
    return askedKeys_;
  }

 private:
  mutable std::mutex mutex_;
  mutable std::vector<std::string> askedKeys_;
};

/// A main bundle, and the bundles at some paths. It remembers which paths were opened, in order.
class FakeBundleProvider : public BundleProvider {
 public:
  FakeBundle main;
  std::map<std::string, FakeBundle::Dictionary> dictionariesByPath;

  const Bundle& mainBundle() const override { return main; }

  std::unique_ptr<Bundle> bundleWithURL(const FileURL& url) const override {
    openedPaths_.push_back(url.path());
    const auto entry = dictionariesByPath.find(url.path());
    if (entry == dictionariesByPath.end()) return nullptr;
    auto bundle = std::make_unique<FakeBundle>(entry->second);
    bundle->url = url;
    return bundle;
  }

  const std::vector<std::string>& openedPaths() const { return openedPaths_; }

 private:
  mutable std::vector<std::string> openedPaths_;
};

}  // namespace blindfold
