#include "devhelper/readable_directory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "blindfold/platform/platform_error.h"
#include "tests/support/program.h"

namespace blindfold {
namespace {

mode_t modeOf(const std::string& path) {
  struct stat item{};
  return lstat(path.c_str(), &item) == 0 ? item.st_mode : 0;
}

TEST(ReadableDirectoryTest, EveryUserMayEnterItWhateverTheMask) {
  const TemporaryDirectory parent;
  const auto path = parent.path() + "/new";
  const auto oldMask = umask(077);
  makeReadableDirectory(path);
  umask(oldMask);
  EXPECT_EQ(modeOf(path), S_IFDIR | 0755U);
}

TEST(ReadableDirectoryTest, ADirectoryThatExistsStaysAsItIs) {
  const TemporaryDirectory existing;
  const auto mode = modeOf(existing.path());
  makeReadableDirectory(existing.path());
  EXPECT_EQ(modeOf(existing.path()), mode);
}

TEST(ReadableDirectoryTest, AFailureIsOneLine) {
  try {
    makeReadableDirectory("/nonexistent/new");
    FAIL() << "It was made.";
  } catch (const PlatformError& error) {
    EXPECT_STREQ(error.what(),
                 "cannot make the directory '/nonexistent/new': No such file or directory");
  }
}

}  // namespace
}  // namespace blindfold
