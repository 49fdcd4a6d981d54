#import <Foundation/Foundation.h>

#include <utility>

#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/macos_platform.h"
#include "blindfold/platform/macos/platform_call.h"
#include "blindfold/platform/macos/scoped_reference.h"

namespace blindfold {
namespace {
class FoundationBundle final : public Bundle {
 public:
  explicit FoundationBundle(ObjectReference<NSBundle*> bundle) : bundle_(std::move(bundle)) {}

  std::optional<DictionaryValue> objectForInfoDictionaryKey(std::string_view key) const override {
    return askPlatform([&]() -> std::optional<DictionaryValue> {
      NSString* const name = stringOf(key);
      if (name == nil) return std::nullopt;
      return dictionaryValueOf([bundle_.get() objectForInfoDictionaryKey:name]);
    });
  }

  FileURL bundleURL() const override {
    const auto url = askPlatform([&] { return urlOf([bundle_.get() bundleURL]); });
    return url.value_or(FileURL("/"));
  }

  std::optional<std::string> bundleIdentifier() const override {
    return askPlatform([&]() -> std::optional<std::string> {
      NSString* const identifier = [bundle_.get() bundleIdentifier];
      if (identifier == nil) return std::nullopt;
      return textOf(identifier);
    });
  }

  std::optional<FileURL> executableURL() const override {
    return askPlatform([&] { return urlOf([bundle_.get() executableURL]); });
  }

 private:
  ObjectReference<NSBundle*> bundle_;
};
}  // namespace

FoundationBundleProvider::FoundationBundleProvider()
    : mainBundle_(askPlatform([]() -> std::unique_ptr<Bundle> {
        return std::make_unique<FoundationBundle>(
            ObjectReference<NSBundle*>::retaining([NSBundle mainBundle]));
      })) {}

std::unique_ptr<Bundle> FoundationBundleProvider::bundleWithURL(const FileURL& url) const {
  return askPlatform([&]() -> std::unique_ptr<Bundle> {
    NSURL* const directory = directoryURLOf(url);
    if (directory == nil) return nullptr;
    auto bundle = ObjectReference<NSBundle*>::adopting([[NSBundle alloc] initWithURL:directory]);
    if (!bundle) return nullptr;
    return std::make_unique<FoundationBundle>(std::move(bundle));
  });
}

}  // namespace blindfold
