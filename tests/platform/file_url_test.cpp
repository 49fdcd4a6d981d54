#include "blindfold/platform/file_url.h"

#include <gtest/gtest.h>

#include "tests/support/fake_file_manager.h"

namespace blindfold {
namespace {
TEST(FileURLTest, AnAbsolutePathIsKeptAsItIs) {
  EXPECT_EQ(FileURL("/a//b/../c").path(), "/a//b/../c");
}

TEST(FileURLTest, ARelativePathStopsADebugBuild) {
  EXPECT_DEBUG_DEATH(FileURL("a/b"), "starts_with");
  EXPECT_DEBUG_DEATH(FileURL(""), "starts_with");
}

TEST(FileURLWithPathTest, ARelativePathIsTakenFromTheCurrentDirectory) {
  FakeFileManager files;
  EXPECT_EQ(fileURLWithPath("helper", files).path(), "/current/helper");
  files.currentDirectory = "/";
  EXPECT_EQ(fileURLWithPath("a/helper", files).path(), "/a/helper");
}

TEST(FileURLWithPathTest, AnAbsolutePathNeedsNoCurrentDirectory) {
  const FakeFileManager files;
  EXPECT_EQ(fileURLWithPath("/a/helper", files).path(), "/a/helper");
  EXPECT_EQ(files.currentDirectoryQueries(), 0);
}

TEST(FileURLTest, TrailingSlashesAreDropped) {
  EXPECT_EQ(FileURL("/a/b//").path(), "/a/b");
  EXPECT_EQ(FileURL("//").path(), "/");
}

TEST(FileURLTest, AComponentIsAppendedBehindOneSlash) {
  EXPECT_EQ(FileURL("/a").appendingPathComponent("b").path(), "/a/b");
  EXPECT_EQ(FileURL("/").appendingPathComponent("b").path(), "/b");
}

TEST(FileURLTest, TheParentOfTheRootIsTheRoot) {
  EXPECT_EQ(FileURL("/a/b").deletingLastPathComponent().path(), "/a");
  EXPECT_EQ(FileURL("/a").deletingLastPathComponent().path(), "/");
  EXPECT_EQ(FileURL("/").deletingLastPathComponent().path(), "/");
}

TEST(FileURLTest, TheLastComponentFollowsTheLastSlash) {
  EXPECT_EQ(FileURL("/a/Blindfold").lastPathComponent(), "Blindfold");
  EXPECT_EQ(FileURL("/").lastPathComponent(), "/");
}

TEST(FileURLTest, TheExtensionFollowsTheLastFullStopOfTheName) {
  EXPECT_EQ(FileURL("/x.y/Blindfold.app").pathExtension(), "app");
  EXPECT_EQ(FileURL("/Blindfold.App").pathExtension(), "App");
  EXPECT_EQ(FileURL("/x.app/Blindfold").pathExtension(), "");
  EXPECT_EQ(FileURL("/.app").pathExtension(), "");
  EXPECT_EQ(FileURL("/Blindfold.").pathExtension(), "");
}
}  // namespace
}  // namespace blindfold
