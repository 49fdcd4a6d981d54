#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "blindfold/platform/file_manager.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {

/// The answers of every platform's file manager about the same files. `Manager` is the platform's.
template <class Manager>
class FileManagerContract : public testing::Test {
 protected:
  std::string pathOf(const std::string& name) const { return directory_.path() + "/" + name; }

  /// Makes a regular file with these permissions.
  std::string makeFile(const std::string& name, mode_t mode) const {
    const std::string path = pathOf(name);
    std::ofstream(path) << "#!/bin/sh\n";
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
  }

  std::string makeLink(const std::string& name, const std::string& target) const {
    std::filesystem::create_symlink(target, pathOf(name));
    return pathOf(name);
  }

  std::optional<FileType> typeOf(const std::string& path) const {
    const auto attributes = fileManager().attributesOfItem(path);
    return attributes ? attributes->type : std::nullopt;
  }

  /// The interface's promises alone.
  const FileManager& fileManager() const { return manager_; }

  const Manager manager_;
  const TemporaryDirectory directory_;
};

TYPED_TEST_SUITE_P(FileManagerContract);

TYPED_TEST_P(FileManagerContract, AFileIsExecutableWhenItsModeSaysSo) {
  EXPECT_TRUE(this->fileManager().isExecutableFile(this->makeFile("tool", 0755)));
  EXPECT_FALSE(this->fileManager().isExecutableFile(this->makeFile("text", 0644)));
}

TYPED_TEST_P(FileManagerContract, AMissingFileIsNotExecutable) {
  EXPECT_FALSE(this->fileManager().isExecutableFile(this->pathOf("missing")));
  EXPECT_FALSE(this->fileManager().isExecutableFile(""));
}

TYPED_TEST_P(FileManagerContract, ADirectoryThatMayBeSearchedIsExecutable) {
  EXPECT_TRUE(this->fileManager().isExecutableFile(this->directory_.path()));
}

TYPED_TEST_P(FileManagerContract, ALinkIsExecutableWhenItsTargetIs) {
  this->makeFile("tool", 0755);
  EXPECT_TRUE(this->fileManager().isExecutableFile(this->makeLink("link", "tool")));
  EXPECT_FALSE(this->fileManager().isExecutableFile(this->makeLink("dangling", "missing")));
}

TYPED_TEST_P(FileManagerContract, APathWithANULByteNamesNothing) {
  const std::string path = this->makeFile("tool", 0755) + std::string("\0x", 2);
  EXPECT_FALSE(this->fileManager().isExecutableFile(path));
  EXPECT_EQ(this->fileManager().attributesOfItem(path), std::nullopt);
}

TYPED_TEST_P(FileManagerContract, TellsTheTypesApart) {
  EXPECT_EQ(this->typeOf(this->makeFile("file", 0644)), FileType::regular);
  EXPECT_EQ(this->typeOf(this->directory_.path()), FileType::directory);
  ASSERT_EQ(mkfifo(this->pathOf("fifo").c_str(), 0600), 0);
  EXPECT_EQ(this->typeOf(this->pathOf("fifo")), FileType::other);
  EXPECT_EQ(this->typeOf("/dev/null"), FileType::other);
}

TYPED_TEST_P(FileManagerContract, DescribesALinkItself) {
  this->makeFile("file", 0644);
  EXPECT_EQ(this->typeOf(this->makeLink("link", "file")), FileType::symbolicLink);
  EXPECT_EQ(this->typeOf(this->makeLink("dangling", "missing")), FileType::symbolicLink);
}

TYPED_TEST_P(FileManagerContract, TellsEveryPermissionBit) {
  const std::string path = this->makeFile("file", 0);
  for (mode_t mode = 0; mode <= 07777; ++mode) {
    const int changed = chmod(path.c_str(), mode);
    struct stat status{};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    // The bits beyond the permissions are not every user's to set.
    ASSERT_TRUE(mode > 0777 || changed == 0);
    const auto attributes = this->fileManager().attributesOfItem(path);
    ASSERT_TRUE(attributes.has_value());
    ASSERT_EQ(attributes->posixPermissions, status.st_mode & 07777U);
  }
}

TYPED_TEST_P(FileManagerContract, ReadsAfreshEveryTime) {
  const std::string path = this->makeFile("file", 0600);
  EXPECT_EQ(this->fileManager().attributesOfItem(path)->posixPermissions, 0600U);
  ASSERT_EQ(unlink(path.c_str()), 0);
  EXPECT_EQ(this->fileManager().attributesOfItem(path), std::nullopt);
}

TYPED_TEST_P(FileManagerContract, WhatIsNotThereHasNoAttributes) {
  EXPECT_EQ(this->fileManager().attributesOfItem(this->pathOf("missing")), std::nullopt);
  EXPECT_EQ(this->fileManager().attributesOfItem(""), std::nullopt);
  EXPECT_EQ(this->fileManager().attributesOfItem(this->makeFile("file", 0644) + "/below"),
            std::nullopt);
}

TYPED_TEST_P(FileManagerContract, KeepsNamesAsTheirBytesAre) {
  // The same letter, composed and decomposed: two names.
  const std::string composed = this->makeFile("\u00e9", 0600);
  if (std::filesystem::exists(this->pathOf("e\u0301"))) {
    GTEST_SKIP() << "The file system takes both for one name.";
  }
  EXPECT_EQ(this->typeOf(this->pathOf("e\u0301")), std::nullopt);
  const std::string decomposed = this->makeFile("e\u0301", 0640);
  EXPECT_EQ(this->fileManager().attributesOfItem(composed)->posixPermissions, 0600U);
  EXPECT_EQ(this->fileManager().attributesOfItem(decomposed)->posixPermissions, 0640U);
}

TYPED_TEST_P(FileManagerContract, NeverTakesANameThatIsNotTextForAnother) {
  if (!std::ofstream(this->pathOf("\xff"))) {
    GTEST_SKIP() << "The file system takes only names that are text.";
  }
  for (const char* other : {"?", "\u00ff", "\ufffd", "%FF"}) this->makeFile(other, 0640);
  const auto attributes = this->fileManager().attributesOfItem(this->makeFile("\xff", 0600));
  EXPECT_EQ(attributes ? attributes->posixPermissions : 0600U, 0600U);
}

TYPED_TEST_P(FileManagerContract, TellsTheCurrentDirectory) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(this->directory_.path());
  EXPECT_EQ(this->fileManager().currentDirectoryPath(), std::filesystem::current_path().string());
  std::filesystem::current_path(before);
}

REGISTER_TYPED_TEST_SUITE_P(FileManagerContract, AFileIsExecutableWhenItsModeSaysSo,
                            AMissingFileIsNotExecutable, ADirectoryThatMayBeSearchedIsExecutable,
                            ALinkIsExecutableWhenItsTargetIs, APathWithANULByteNamesNothing,
                            TellsTheTypesApart, DescribesALinkItself, TellsEveryPermissionBit,
                            ReadsAfreshEveryTime, WhatIsNotThereHasNoAttributes,
                            KeepsNamesAsTheirBytesAre, NeverTakesANameThatIsNotTextForAnother,
                            TellsTheCurrentDirectory);

}  // namespace blindfold
