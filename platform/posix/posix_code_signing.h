#pragma once

#include "platform/code_signing.h"

namespace blindfold {

/// POSIX has no code signing: there is no code object for anything.
class PosixCodeSigning final : public CodeSigning {
 public:
  std::unique_ptr<Code> copySelf() const override;
  std::unique_ptr<StaticCode> createStaticCode(const FileURL& url) const override;
};

}  // namespace blindfold
