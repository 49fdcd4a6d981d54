#include "blindfold/platform/macos/dispatch_main_loop.h"

#import <dispatch/dispatch.h>

namespace blindfold {

void DispatchMainLoop::post(std::function<void()> work) {
  dispatch_async(dispatch_get_main_queue(), ^{
    work();
  });
}

void DispatchMainLoop::run() {
  dispatch_main();
}

}  // namespace blindfold
