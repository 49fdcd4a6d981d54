#include "blindfold/authorization/bundle_execution_context.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/fake_file_manager.h"

namespace blindfold {
namespace {
/// The items in the order of their examination.
const std::array<std::string, 4> items{
    "/X.app",
    "/X.app/Contents",
    "/X.app/Contents/MacOS",
    "/X.app/Contents/MacOS/Blindfold",
};

const BundleExecutionContext context{
    .appURL = FileURL(items[0]),
    .contentsURL = FileURL(items[1]),
    .macOSURL = FileURL(items[2]),
    .executableURL = FileURL(items[3]),
    .bundleIdentifier = std::nullopt,
    .executableName = "Blindfold",
};

FileAttributes attributes(FileType type, std::uint64_t permissions) {
  return {.type = type, .posixPermissions = permissions};
}

class SecureExecutablePathTest : public testing::TestWithParam<std::string> {
 protected:
  SecureExecutablePathTest() {
    for (const auto& item : items) {
      const bool isExecutable = item == items.back();
      const auto type = isExecutable ? FileType::regular : FileType::directory;
      fileManager_.attributesByPath[item] = attributes(type, 0755);
    }
  }

  bool isSecure() const { return hasSecureExecutablePath(context, fileManager_); }
  FileAttributes& attributesOfTheItem() { return fileManager_.attributesByPath[GetParam()]; }

  FakeFileManager fileManager_;
};

INSTANTIATE_TEST_SUITE_P(Item, SecureExecutablePathTest, testing::ValuesIn(items),
                         [](const auto& parameter) {
                           const auto& path = parameter.param;
                           const auto name = path.substr(path.rfind('/') + 1);
                           return name.substr(0, name.find('.'));
                         });

TEST_F(SecureExecutablePathTest, ItIsSecureWhenAllItemsAreWhatTheyShouldBe) {
  EXPECT_TRUE(isSecure());
}

TEST_F(SecureExecutablePathTest, EachItemIsReadOnceFromTheApplicationDown) {
  isSecure();
  EXPECT_EQ(fileManager_.attributeQueries(), std::vector(items.begin(), items.end()));
}

TEST_P(SecureExecutablePathTest, ItStopsAtTheFirstItemThatFails) {
  attributesOfTheItem().posixPermissions = 0777;
  isSecure();
  const auto failed = std::find(items.begin(), items.end(), GetParam());
  EXPECT_EQ(fileManager_.attributeQueries(), std::vector(items.begin(), failed + 1));
}

TEST_P(SecureExecutablePathTest, AnItemThatCannotBeReadFails) {
  fileManager_.attributesByPath.erase(GetParam());
  EXPECT_FALSE(isSecure());
}

TEST_P(SecureExecutablePathTest, AnItemOfUnknownTypeFails) {
  attributesOfTheItem().type.reset();
  EXPECT_FALSE(isSecure());
}

TEST_P(SecureExecutablePathTest, AnItemOfUnknownPermissionsFails) {
  attributesOfTheItem().posixPermissions.reset();
  EXPECT_FALSE(isSecure());
}

TEST_P(SecureExecutablePathTest, OnlyTheRequiredTypePasses) {
  const auto required = GetParam() == items.back() ? FileType::regular : FileType::directory;
  for (const auto type :
       {FileType::regular, FileType::directory, FileType::symbolicLink, FileType::other}) {
    attributesOfTheItem().type = type;
    EXPECT_EQ(isSecure(), type == required) << static_cast<int>(type);
  }
}

TEST_P(SecureExecutablePathTest, OnlyTheWriteBitsOfGroupAndOthersMatter) {
  for (std::uint64_t mode = 0; mode <= 07777; ++mode) {
    attributesOfTheItem().posixPermissions = mode;
    const bool groupMayWrite = mode / 8 % 4 >= 2;
    const bool othersMayWrite = mode % 4 >= 2;
    EXPECT_EQ(isSecure(), !groupMayWrite && !othersMayWrite) << std::oct << mode;
  }
}

TEST_P(SecureExecutablePathTest, BitsAboveTheSixteenthDoNotMatter) {
  attributesOfTheItem().posixPermissions = 0xFFFF'FFFF'FFFF'0000 | 0755;
  EXPECT_TRUE(isSecure());
  attributesOfTheItem().posixPermissions = 0xFFFF'FFFF'FFFF'0000 | 0775;
  EXPECT_FALSE(isSecure());
}
}  // namespace
}  // namespace blindfold
