#include "blindfold/platform/macos/platform_call.h"

#include "blindfold/platform/macos/conversion.h"

namespace blindfold {

std::string exceptionDescription(NSException* exception) {
  NSString* const reason = [exception reason];
  return textOf(reason != nil ? reason : [exception name]);
}

}  // namespace blindfold
