#include "blindfold/authorization/bundle_execution_context.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_bundle.h"
#include "tests/support/fake_file_manager.h"

namespace blindfold {
namespace {
using testing::Field;
using testing::Optional;
using Context = BundleExecutionContext;

class BundleExecutionContextTest : public testing::Test {
 protected:
  std::optional<BundleExecutionContext> contextOf(std::string_view path) const {
    return bundleExecutionContext(path, fileManager_, bundles_);
  }

  FakeFileManager fileManager_;
  FakeBundleProvider bundles_;
};

TEST_F(BundleExecutionContextTest, ItIsTakenApartFromTheExecutablePath) {
  bundles_.dictionariesByPath = {
      {"/Applications/X.app", {{"CFBundleIdentifier", "app.blindfold.mac"}}}};
  EXPECT_EQ(contextOf("/Applications/X.app/Contents/Resources/blindfoldctl"),
            (BundleExecutionContext{
                .appURL = FileURL("/Applications/X.app"),
                .contentsURL = FileURL("/Applications/X.app/Contents"),
                .macOSURL = FileURL("/Applications/X.app/Contents/Resources"),
                .executableURL = FileURL("/Applications/X.app/Contents/Resources/blindfoldctl"),
                .bundleIdentifier = "app.blindfold.mac",
                .executableName = "blindfoldctl",
            }));
}

TEST_F(BundleExecutionContextTest, TheNamesOfTheDirectoriesBetweenDoNotMatter) {
  EXPECT_THAT(contextOf("/X.app/a/b/c"), Optional(Field(&Context::appURL, FileURL("/X.app"))));
  EXPECT_THAT(contextOf("/X.app/a/b/c"), Optional(Field(&Context::executableName, "c")));
}

TEST_F(BundleExecutionContextTest, RepeatedSlashesSeparateNothing) {
  EXPECT_THAT(contextOf("/X.app//Contents/MacOS//Blindfold"),
              Optional(Field(&Context::appURL, FileURL("/X.app"))));
}

TEST_F(BundleExecutionContextTest, OnlyTheDirectoryThreeLevelsUpIsLookedAt) {
  EXPECT_EQ(contextOf("/X.app/Blindfold"), std::nullopt);
  EXPECT_EQ(contextOf("/X.app/MacOS/Blindfold"), std::nullopt);
  EXPECT_EQ(contextOf("/X.app/Contents/Library/MacOS/Blindfold"), std::nullopt);
}

TEST_F(BundleExecutionContextTest, TheExtensionIsComparedExactly) {
  EXPECT_EQ(contextOf("/X.App/Contents/MacOS/Blindfold"), std::nullopt);
  EXPECT_EQ(contextOf("/X.APP/Contents/MacOS/Blindfold"), std::nullopt);
  EXPECT_EQ(contextOf("/X.app2/Contents/MacOS/Blindfold"), std::nullopt);
  EXPECT_EQ(contextOf("/Xapp/Contents/MacOS/Blindfold"), std::nullopt);
  EXPECT_EQ(contextOf("/app/Contents/MacOS/Blindfold"), std::nullopt);
}

TEST_F(BundleExecutionContextTest, APathTooShortForABundleHasNone) {
  EXPECT_EQ(contextOf("/"), std::nullopt);
  EXPECT_EQ(contextOf("/Blindfold"), std::nullopt);
  EXPECT_EQ(contextOf("/MacOS/Blindfold"), std::nullopt);
}

TEST_F(BundleExecutionContextTest, ABundleThatCannotBeOpenedHasNoIdentifier) {
  EXPECT_THAT(contextOf("/X.app/Contents/MacOS/Blindfold"),
              Optional(Field(&Context::bundleIdentifier, std::nullopt)));
}

TEST_F(BundleExecutionContextTest, ABundleThatDeclaresNoIdentifierHasNone) {
  bundles_.dictionariesByPath = {{"/X.app", {}}};
  EXPECT_THAT(contextOf("/X.app/Contents/MacOS/Blindfold"),
              Optional(Field(&Context::bundleIdentifier, std::nullopt)));
}

TEST_F(BundleExecutionContextTest, NoBundleIsOpenedWithoutTheExtension) {
  contextOf("/X.App/Contents/MacOS/Blindfold");
  EXPECT_TRUE(bundles_.openedPaths().empty());
}

TEST_F(BundleExecutionContextTest, ARelativePathIsTakenFromTheCurrentDirectory) {
  fileManager_.currentDirectory = "/Applications";
  EXPECT_THAT(contextOf("X.app/Contents/MacOS/Blindfold"),
              Optional(Field(&Context::appURL, FileURL("/Applications/X.app"))));
}
}  // namespace
}  // namespace blindfold
