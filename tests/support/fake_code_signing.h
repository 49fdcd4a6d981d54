#pragma once

#include <map>
#include <optional>
#include <string>

#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// Code signing whose answers are its fields.
class FakeCodeSigning : public CodeSigning {
 public:
  std::optional<SigningInformation> ownInformation;
  /// The information of executables, by their paths.
  std::map<std::string, SigningInformation> informationByPath;

  std::optional<SigningInformation> ownSigningInformation() const override {
    return ownInformation;
  }

  std::optional<SigningInformation> signingInformation(const FileURL& url) const override {
    const auto entry = informationByPath.find(url.path());
    if (entry == informationByPath.end()) return std::nullopt;
    return entry->second;
  }
};

}  // namespace blindfold
