#include "platform/posix/posix_code_signing.h"

namespace blindfold {

std::unique_ptr<Code> PosixCodeSigning::copySelf() const {
  return nullptr;
}

std::unique_ptr<StaticCode> PosixCodeSigning::createStaticCode(const FileURL& /*url*/) const {
  return nullptr;
}

}  // namespace blindfold
