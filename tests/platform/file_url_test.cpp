#include "blindfold/platform/file_url.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {

TEST(FileURLTest, AnAbsolutePathIsKeptAsItIs) {
  EXPECT_EQ(FileURL("/a//b/../c", "/elsewhere").path(), "/a//b/../c");
}

TEST(FileURLTest, ARelativePathIsTakenFromTheCurrentDirectory) {
  EXPECT_EQ(FileURL("helper", "/current").path(), "/current/helper");
  EXPECT_EQ(FileURL("helper", "/").path(), "/helper");
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
