#pragma once

#import <Foundation/Foundation.h>

#include <string>

#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/platform_error.h"

namespace blindfold {

/// The reason of `exception`, or its name when it gives none.
inline std::string exceptionDescription(NSException* exception) {
  NSString* const reason = [exception reason];
  return textOf(reason != nil ? reason : [exception name]);
}

/// Runs `body`, a few calls into the platform, in an autorelease pool of its own and returns its
/// result. Throws `PlatformError` in place of an Objective-C exception. `body` itself throws no C++
/// exception.
template <class Body>
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

/// The same for a question that cannot fail: an Objective-C exception is answered by the empty
/// value of the result's type (`std::nullopt`, null, false, empty text).
template <class Body>
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
