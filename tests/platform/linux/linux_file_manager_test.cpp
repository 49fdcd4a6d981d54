#include "blindfold/platform/linux/linux_file_manager.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include "blindfold/platform/posix/file_descriptor.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
class LinuxFileManagerTest : public testing::Test {
 protected:
  std::string pathOf(const std::string& name) const { return directory_.path() + '/' + name; }

  // Makes a file with this mode, which the umask does not change.
  std::string makeFile(const std::string& name, mode_t mode) const {
    const std::string path = pathOf(name);
    std::ofstream(path) << "#!/bin/sh\n";
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
  }

  std::optional<FileType> typeOf(const std::string& path) const {
    return fileManager_.attributesOfItem(path).value_or(FileAttributes()).type;
  }

  std::optional<std::uint64_t> permissionsOf(const std::string& path) const {
    return fileManager_.attributesOfItem(path).value_or(FileAttributes()).posixPermissions;
  }

  const LinuxFileManager fileManager_;
  const TemporaryDirectory directory_;
};

TEST_F(LinuxFileManagerTest, AFileThatMayBeExecutedIsExecutable) {
  EXPECT_TRUE(fileManager_.isExecutableFile(makeFile("tool", 0755)));
}

TEST_F(LinuxFileManagerTest, AFileThatMayNotBeExecutedIsNotExecutable) {
  EXPECT_FALSE(fileManager_.isExecutableFile(makeFile("tool", 0644)));
}

TEST_F(LinuxFileManagerTest, AMissingFileIsNotExecutable) {
  EXPECT_FALSE(fileManager_.isExecutableFile(pathOf("tool")));
  EXPECT_FALSE(fileManager_.isExecutableFile(""));
}

TEST_F(LinuxFileManagerTest, ADirectoryThatMayBeSearchedCountsAsExecutable) {
  EXPECT_TRUE(fileManager_.isExecutableFile(directory_.path()));
}

TEST_F(LinuxFileManagerTest, AnExecutableIsFoundBehindASymbolicLink) {
  makeFile("tool", 0755);
  std::filesystem::create_symlink("tool", pathOf("link"));
  EXPECT_TRUE(fileManager_.isExecutableFile(pathOf("link")));
}

TEST_F(LinuxFileManagerTest, APathWithANULByteNamesNothing) {
  const std::string path = makeFile("tool", 0755) + std::string("\0x", 2);
  EXPECT_FALSE(fileManager_.isExecutableFile(path));
  EXPECT_EQ(fileManager_.attributesOfItem(path), std::nullopt);
}

TEST_F(LinuxFileManagerTest, EachTypeIsToldFromTheOthers) {
  EXPECT_EQ(typeOf(makeFile("file", 0644)), FileType::regular);
  EXPECT_EQ(typeOf(directory_.path()), FileType::directory);
  ASSERT_EQ(mkfifo(pathOf("fifo").c_str(), 0600), 0);
  EXPECT_EQ(typeOf(pathOf("fifo")), FileType::other);
  EXPECT_EQ(typeOf("/dev/null"), FileType::other);
}

TEST_F(LinuxFileManagerTest, ASocketIsOfAnotherType) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  pathOf("socket").copy(address.sun_path, sizeof address.sun_path - 1);
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_TRUE(socket);
  ASSERT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(typeOf(pathOf("socket")), FileType::other);
}

TEST_F(LinuxFileManagerTest, ASymbolicLinkIsNotFollowed) {
  std::filesystem::create_symlink(makeFile("file", 0644), pathOf("link"));
  EXPECT_EQ(typeOf(pathOf("link")), FileType::symbolicLink);
  std::filesystem::create_symlink("nowhere", pathOf("dangling"));
  EXPECT_EQ(typeOf(pathOf("dangling")), FileType::symbolicLink);
}

TEST_F(LinuxFileManagerTest, EveryPermissionBitIsTold) {
  const std::string path = makeFile("file", 0);
  for (mode_t mode = 0; mode <= 07777; ++mode) {
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    ASSERT_EQ(permissionsOf(path), mode);
  }
}

TEST_F(LinuxFileManagerTest, AttributesAreReadAfreshEachTime) {
  const std::string path = makeFile("file", 0600);
  EXPECT_EQ(permissionsOf(path), 0600U);
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  EXPECT_EQ(permissionsOf(path), 0640U);
}

TEST_F(LinuxFileManagerTest, AMissingItemHasNoAttributes) {
  EXPECT_EQ(fileManager_.attributesOfItem(pathOf("nowhere")), std::nullopt);
  EXPECT_EQ(fileManager_.attributesOfItem(""), std::nullopt);
}

TEST_F(LinuxFileManagerTest, AnItemBelowAFileHasNoAttributes) {
  EXPECT_EQ(fileManager_.attributesOfItem(makeFile("file", 0644) + "/x"), std::nullopt);
}

/// Fails the test when `body` throws or ends the process it runs in with anything but 0.
void expectInChild(const std::function<bool()>& body) {
  const auto result = runInChild([&] { std::_Exit(body() ? 0 : 1); });
  EXPECT_EQ(result.exitStatus, 0) << result.standardError;
}

TEST_F(LinuxFileManagerTest, TheCurrentDirectoryIsToldByItsAbsolutePath) {
  const auto path = std::filesystem::canonical(directory_.path()).string();
  expectInChild(
      [&] { return chdir(path.c_str()) == 0 && fileManager_.currentDirectoryPath() == path; });
}

TEST_F(LinuxFileManagerTest, ADeepCurrentDirectoryIsToldInFull) {
  expectInChild([&] {
    const std::string name(200, 'd');
    std::string path = std::filesystem::canonical(directory_.path()).string();
    if (chdir(path.c_str()) != 0) return false;
    for (int level = 0; level < 50; ++level) {
      if (mkdir(name.c_str(), 0700) != 0 || chdir(name.c_str()) != 0) return false;
      path += '/' + name;
    }
    return fileManager_.currentDirectoryPath() == path;
  });
}

TEST_F(LinuxFileManagerTest, ACurrentDirectoryThatIsGoneIsTheRoot) {
  expectInChild([&] {
    const std::string path = pathOf("gone");
    return mkdir(path.c_str(), 0700) == 0 && chdir(path.c_str()) == 0 && rmdir(path.c_str()) == 0 &&
           fileManager_.currentDirectoryPath() == "/";
  });
}
}  // namespace
}  // namespace blindfold
