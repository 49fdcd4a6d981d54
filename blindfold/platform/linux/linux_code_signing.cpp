#include "blindfold/platform/linux/linux_code_signing.h"

namespace blindfold {

std::unique_ptr<Code> LinuxCodeSigning::copySelf() const {
  return nullptr;
}

std::unique_ptr<StaticCode> LinuxCodeSigning::createStaticCode(const FileURL& /*url*/) const {
  return nullptr;
}

}  // namespace blindfold
