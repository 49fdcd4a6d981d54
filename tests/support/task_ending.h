#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "blindfold/helperclient/task.h"
#include "blindfold/helperclient/task_run.h"

namespace blindfold {

/// The end of a task, and the number of times it was seen to end.
template <class T>
struct TaskEnding {
  std::optional<T> value;
  std::exception_ptr failure;
  int count = 0;
};

template <class T>
Task<void> recordEnding(Task<T> task, std::shared_ptr<TaskEnding<T>> ending) {
  try {
    ending->value = co_await std::move(task);
  } catch (...) {
    ending->failure = std::current_exception();
  }
  ++ending->count;
}

/// Starts the task on the loop and records its end.
template <class T>
std::shared_ptr<TaskEnding<T>> startTask(MainLoop& mainLoop, Task<T> task) {
  auto ending = std::make_shared<TaskEnding<T>>();
  spawnOn(mainLoop, recordEnding(std::move(task), ending));
  return ending;
}

/// The text of the failure that the task ended with, or what it did instead of failing.
template <class T>
std::string describeFailure(const TaskEnding<T>& ending) {
  if (!ending.failure) return ending.count == 0 ? "still waiting" : "no failure";
  try {
    std::rethrow_exception(ending.failure);
  } catch (const std::exception& error) {
    return error.what();
  }
}

}  // namespace blindfold
