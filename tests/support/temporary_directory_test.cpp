#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace blindfold {
namespace {
TEST(TemporaryDirectoryTest, ItGoesAwayWithEverythingInIt) {
  std::string path;
  {
    const TemporaryDirectory directory;
    path = directory.path();
    std::filesystem::create_directories(path + "/a/b");
    EXPECT_TRUE(std::filesystem::path(path).is_absolute());
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}
}  // namespace
}  // namespace blindfold
