#pragma once

#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// The Security framework's code signing.
class SecurityCodeSigning final : public CodeSigning {
 public:
  std::optional<SigningInformation> ownSigningInformation() const override;
  std::optional<SigningInformation> signingInformation(const FileURL& url) const override;
};

}  // namespace blindfold
