#include "blindfold/platform/macos/droppable_handler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace blindfold {
namespace {
TEST(DroppableHandlerTest, CallsNothingWhenNothingIsSet) {
  DroppableHandler handler;
  handler.call();
  handler.callOnce();
  handler.drop();
}

TEST(DroppableHandlerTest, CallsTheHandlerEveryTime) {
  DroppableHandler handler;
  int calls = 0;
  handler.set([&] { ++calls; });
  handler.call();
  handler.call();
  EXPECT_EQ(calls, 2);
}

TEST(DroppableHandlerTest, CallsTheHandlerNoMoreOnceItIsDropped) {
  DroppableHandler handler;
  int calls = 0;
  handler.set([&] { ++calls; });
  handler.drop();
  handler.call();
  EXPECT_EQ(calls, 0);
}

TEST(DroppableHandlerTest, LetsGoOfWhatTheHandlerCapturesWhenItIsDropped) {
  DroppableHandler handler;
  const auto captured = std::make_shared<int>(1);
  handler.set([captured] {});
  handler.drop();
  EXPECT_EQ(captured.use_count(), 1);
}

TEST(DroppableHandlerTest, KeepsAHandlerThatDropsItselfUntilItEnds) {
  DroppableHandler handler;
  const auto captured = std::make_shared<int>(1);
  int seen = 0;
  handler.set([&handler, &seen, captured] {
    handler.drop();
    seen = *captured;
  });
  handler.call();
  EXPECT_EQ(seen, 1);
  EXPECT_EQ(captured.use_count(), 1);
}

TEST(DroppableHandlerTest, IsCalledOnceByManyThreads) {
  DroppableHandler handler;
  std::atomic<int> calls{0};
  handler.set([&] { ++calls; });
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back([&] { handler.callOnce(); });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(calls, 1);
}

TEST(DroppableHandlerTest, MayBeDroppedWhileThreadsCallIt) {
  DroppableHandler handler;
  const auto captured = std::make_shared<std::atomic<int>>(0);
  handler.set([captured] { ++*captured; });
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int call = 0; call < 1000; ++call) handler.call();
    });
  }
  handler.drop();
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(captured.use_count(), 1);
}
}  // namespace
}  // namespace blindfold
