#pragma once

#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// The Security framework's code signing.
class SecurityCodeSigning final : public CodeSigning {
 public:
  std::unique_ptr<Code> copySelf() const override;
  std::unique_ptr<StaticCode> createStaticCode(const FileURL& url) const override;
};

}  // namespace blindfold
