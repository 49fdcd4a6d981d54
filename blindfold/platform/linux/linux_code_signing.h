#pragma once

#include "blindfold/platform/code_signing.h"

namespace blindfold {

/// Linux has no code signing as the decision needs it: there is no code object for anything.
class LinuxCodeSigning final : public CodeSigning {
 public:
  std::unique_ptr<Code> copySelf() const override;
  std::unique_ptr<StaticCode> createStaticCode(const FileURL& url) const override;
};

}  // namespace blindfold
