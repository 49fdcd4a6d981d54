#pragma once

#import <Foundation/Foundation.h>

#include <string>

#include "blindfold/platform/platform_error.h"

namespace blindfold {

/// What an Objective-C exception says: its reason, or its name when it gives none.
std::string exceptionDescription(NSException* exception);

/// Does `body`, a few calls into the platform, in an autorelease pool of its own and returns what
/// it returns. An Objective-C exception ends here and is thrown on as a `PlatformError`. `body`
/// itself throws no C++ exception.
template <typename Body>
auto callPlatform(const Body& body) {
  std::string description;
  @autoreleasepool {
    @try {
      return body();
    } @catch (NSException* exception) {
      description = exceptionDescription(exception);
    }
  }
  throw PlatformError(description);
}

/// The same for a question that cannot fail: after an Objective-C exception the answer is the empty
/// value of its type (nothing, null, false).
template <typename Body>
auto askPlatform(const Body& body) -> decltype(body()) {
  @autoreleasepool {
    @try {
      return body();
    } @catch (NSException*) {
    }
  }
  return decltype(body())();
}

}  // namespace blindfold
