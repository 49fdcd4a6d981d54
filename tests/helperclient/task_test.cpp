#include "blindfold/helperclient/task.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "tests/support/fake_main_loop.h"
#include "tests/support/task_ending.h"

namespace blindfold {
namespace {
Task<int> seven(std::shared_ptr<int> starts) {
  ++*starts;
  co_return 7;
}

Task<int> failing() {
  throw std::runtime_error("no seven today");
  co_return 7;
}

Task<std::string> describing(Task<int> number) {
  const int value = co_await std::move(number);
  co_return "it is " + std::to_string(value);
}

Task<int> countdown(int depth) {
  if (depth == 0) co_return 0;
  const int below = co_await countdown(depth - 1);
  co_return below + 1;
}

TEST(TaskTest, NothingHappensUntilATaskIsAwaited) {
  const auto starts = std::make_shared<int>(0);
  {
    const Task<int> task = seven(starts);
  }
  EXPECT_EQ(*starts, 0);
  EXPECT_EQ(starts.use_count(), 1) << "the coroutine was not freed";
}

TEST(TaskTest, AnAwaitedTaskHandsItsValueOn) {
  FakeMainLoop mainLoop;
  const auto starts = std::make_shared<int>(0);
  const auto ending = startTask(mainLoop, describing(seven(starts)));
  mainLoop.runUntilIdle();
  EXPECT_EQ(ending->value, "it is 7");
  EXPECT_EQ(*starts, 1);
}

TEST(TaskTest, AnAwaitedTaskHandsItsExceptionOn) {
  FakeMainLoop mainLoop;
  const auto ending = startTask(mainLoop, describing(failing()));
  mainLoop.runUntilIdle();
  ASSERT_TRUE(ending->failure);
  EXPECT_THROW(std::rethrow_exception(ending->failure), std::runtime_error);
}

TEST(TaskTest, TasksThatAwaitTasksEndInsideOut) {
  FakeMainLoop mainLoop;
  const auto ending = startTask(mainLoop, countdown(100));
  mainLoop.runUntilIdle();
  EXPECT_EQ(ending->value, 100);
}

TEST(TaskTest, AssignmentFreesTheTaskThatWasThere) {
  const auto starts = std::make_shared<int>(0);
  {
    Task<int> task = seven(starts);
    task = countdown(0);
  }
  EXPECT_EQ(starts.use_count(), 1);
}

TEST(SpawnTest, ASpawnedTaskStartsFromTheLoopOnly) {
  FakeMainLoop mainLoop;
  const auto starts = std::make_shared<int>(0);
  const auto ending = startTask(mainLoop, seven(starts));
  EXPECT_EQ(*starts, 0);
  mainLoop.runUntilIdle();
  EXPECT_EQ(*starts, 1);
  EXPECT_EQ(ending->count, 1);
}

TEST(SpawnDeathTest, AnExceptionThatLeavesASpawnedTaskEndsTheProcess) {
  EXPECT_DEATH(
      {
        FakeMainLoop mainLoop;
        spawnOn(mainLoop, []() -> Task<void> {
          throw std::runtime_error("nobody listens");
          co_return;
        }());
        mainLoop.runUntilIdle();
      },
      "nobody listens");
}
}  // namespace
}  // namespace blindfold
