#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

#include "blindfold/platform/macos/macos_platform.h"

namespace blindfold {
namespace {

/// Runs the loop with some work in it that writes what it did to standard error and exits.
[[noreturn]] void runWithWork() {
  DispatchMainLoop loop;
  const auto mainThread = std::this_thread::get_id();
  bool insidePost = true;
  loop.post([&, mainThread] {
    std::fputs(insidePost ? "inside post\n" : "later\n", stderr);
    std::fputs(std::this_thread::get_id() == mainThread ? "main thread\n" : "other\n", stderr);
  });
  insidePost = false;
  std::thread([&] {
    loop.post([&] {
      std::fputs("second\n", stderr);
      loop.post([] { std::exit(7); });
    });
  }).join();
  loop.run();
}

TEST(DispatchMainLoopTest, RunsWorkOnTheMainThreadInTheOrderOfPosting) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(runWithWork(), testing::ExitedWithCode(7), "later\nmain thread\nsecond\n");
}

}  // namespace
}  // namespace blindfold
