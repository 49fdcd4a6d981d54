#pragma once

#include "blindfold/platform/bundle.h"

namespace blindfold {

/// `NSBundle`. The main bundle's info dictionary is the property list linked into the executable.
class FoundationBundleProvider final : public BundleProvider {
 public:
  FoundationBundleProvider();

  const Bundle& mainBundle() const override { return *mainBundle_; }
  std::unique_ptr<Bundle> bundleWithURL(const FileURL& url) const override;

 private:
  std::unique_ptr<Bundle> mainBundle_;
};

}  // namespace blindfold
