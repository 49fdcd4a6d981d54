#include "blindfold/config/computed_once.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace blindfold {
namespace {
TEST(ComputedOnceTest, TheFirstValueIsKept) {
  const ComputedOnce<std::string> value;
  EXPECT_EQ(value.get([] { return "first"; }), "first");
  EXPECT_EQ(value.get([] { return "second"; }), "first");
}

TEST(ComputedOnceTest, ThreadsThatAskAtOnceShareOneComputation) {
  constexpr int threadCount = 8;
  constexpr int rounds = 200;
  for (int round = 0; round < rounds; ++round) {
    const ComputedOnce<std::string> value;
    std::atomic<int> computations = 0;
    std::barrier start(threadCount);
    std::vector<const std::string*> seen(threadCount);
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (auto& mine : seen) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        mine = &value.get([&] {
          ++computations;
          std::this_thread::yield();
          return "value";
        });
      });
    }
    for (auto& thread : threads) thread.join();

    ASSERT_EQ(computations, 1);
    for (const auto* each : seen) ASSERT_EQ(each, seen.front());
    ASSERT_EQ(*seen.front(), "value");
  }
}
}  // namespace
}  // namespace blindfold
