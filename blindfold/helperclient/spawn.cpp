#include "blindfold/helperclient/spawn.h"

#include <coroutine>
#include <exception>
#include <memory>
#include <utility>

namespace blindfold {
namespace {

/// A coroutine that nobody awaits: it starts at once and frees itself at its end.
struct Detached {
  struct promise_type {
    Detached get_return_object() const noexcept { return {}; }
    std::suspend_never initial_suspend() const noexcept { return {}; }
    std::suspend_never final_suspend() const noexcept { return {}; }
    void return_void() const noexcept {}
    [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
  };
};

Detached runDetached(Task<void> task) {
  co_await std::move(task);
}

}  // namespace

void spawn(MainLoop& mainLoop, Task<void> task) {
  const auto held = std::make_shared<Task<void>>(std::move(task));
  mainLoop.post([held] { runDetached(std::move(*held)); });
}

}  // namespace blindfold
