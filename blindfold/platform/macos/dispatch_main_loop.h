#pragma once

#include "blindfold/platform/main_loop.h"

namespace blindfold {

/// Dispatch's main queue.
class DispatchMainLoop final : public MainLoop {
 public:
  void post(std::function<void()> work) override;
  [[noreturn]] void run() override;
};

}  // namespace blindfold
