#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

#include "blindfold/platform/macos/macos_platform.h"

namespace blindfold {
namespace {
/// Runs the loop with some work in it that writes to standard error and exits. The main thread may
/// end in the loop, so that the work uses no local of it.
[[noreturn]] void runWithWork() {
  static DispatchMainLoop loop;
  static bool insidePost = true;
  loop.post([] { std::fputs(insidePost ? "inside post\n" : "later\n", stderr); });
  insidePost = false;
  std::thread([] {
    loop.post([] {
      std::fputs("second\n", stderr);
      loop.post([] { std::exit(7); });
    });
  }).join();
  loop.run();
}

TEST(DispatchMainLoopTest, RunsWorkAfterThePostInTheOrderOfPosting) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(runWithWork(), testing::ExitedWithCode(7), "later\nsecond\n");
}
}  // namespace
}  // namespace blindfold
