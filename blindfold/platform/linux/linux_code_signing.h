#pragma once

#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// Linux has no code signatures of this kind: there is no signing information for anything.
class LinuxCodeSigning final : public CodeSigning {
 public:
  std::optional<SigningInformation> ownSigningInformation() const override { return std::nullopt; }
  std::optional<SigningInformation> signingInformation(const FileURL& /*url*/) const override {
    return std::nullopt;
  }
};

}  // namespace blindfold
