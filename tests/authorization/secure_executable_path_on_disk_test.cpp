#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "blindfold/authorization/authorization_decision.h"
#include "blindfold/authorization/bundle_execution_context.h"
#include "blindfold/platform/linux/linux_bundle.h"
#include "blindfold/platform/linux/linux_file_manager.h"
#include "tests/support/fake_bundle.h"
#include "tests/support/fake_code_signing.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
namespace fs = std::filesystem;

void require(int result, const char* what) {
  if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

void setMode(const std::string& path, mode_t mode) {
  require(chmod(path.c_str(), mode), "chmod");
}

/// While it lives, a process of the superuser's looks at files with the rights of nobody; another
/// process keeps its own.
class WithoutPrivileges {
 public:
  static constexpr uid_t nobody = 65534;

  WithoutPrivileges() {
    if (isSuperuser_) require(seteuid(nobody), "seteuid");
  }
  WithoutPrivileges(const WithoutPrivileges&) = delete;
  WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
  ~WithoutPrivileges() {
    if (isSuperuser_ && seteuid(0) != 0) std::abort();
  }

 private:
  const bool isSuperuser_ = geteuid() == 0;
};

/// A client's bundle with all items of mode 0755.
class BundleOnDisk {
 public:
  BundleOnDisk() {
    setMode(directory_.path(), 0755);
    fs::create_directories(items[2]);
    std::ofstream(items[3]) << "#!/bin/sh\n";
    for (const auto& item : items) setMode(item, 0755);
  }

  /// Gives the items to the user who looks on `WithoutPrivileges`.
  void giveAway() const {
    if (geteuid() != 0) return;
    for (const auto& item : items) {
      require(lchown(item.c_str(), WithoutPrivileges::nobody, WithoutPrivileges::nobody), "lchown");
    }
  }

  bool isSecure() const {
    const LinuxFileManager fileManager;
    const auto context = bundleExecutionContext(items[3], fileManager, LinuxBundleProvider());
    return context && hasSecureExecutablePath(*context, fileManager);
  }

  bool isSecureWithoutPrivileges() const {
    const WithoutPrivileges guard;
    return isSecure();
  }

 private:
  TemporaryDirectory directory_;

 public:
  const std::string parent = directory_.path();
  /// In the order of their examination.
  const std::array<std::string, 4> items{
      parent + "/Blindfold.app",
      parent + "/Blindfold.app/Contents",
      parent + "/Blindfold.app/Contents/MacOS",
      parent + "/Blindfold.app/Contents/MacOS/Blindfold",
  };
};

class SecureExecutablePathOnDiskTest : public testing::TestWithParam<std::size_t> {
 protected:
  const std::string& item() const { return bundle_.items.at(GetParam()); }
  bool isExecutable() const { return GetParam() == bundle_.items.size() - 1; }
  std::string elsewhere() const { return bundle_.parent + "/elsewhere"; }

  BundleOnDisk bundle_;
};

const std::array itemNames{"Application", "Contents", "MacOS", "Executable"};

INSTANTIATE_TEST_SUITE_P(Item, SecureExecutablePathOnDiskTest,
                         testing::Range(std::size_t{0}, itemNames.size()),
                         [](const auto& parameter) { return itemNames.at(parameter.param); });

constexpr mode_t lastMode = 07777;

bool isWritableByGroupOrOthers(mode_t mode) {
  return (mode & (S_IWGRP | S_IWOTH)) != 0;
}

TEST_P(SecureExecutablePathOnDiskTest, TheSuperuserJudgesEveryMode) {
  if (geteuid() != 0) GTEST_SKIP() << "not the superuser";
  for (mode_t mode = 0; mode <= lastMode; ++mode) {
    setMode(item(), mode);
    EXPECT_EQ(bundle_.isSecure(), !isWritableByGroupOrOthers(mode)) << std::oct << mode;
  }
}

TEST_P(SecureExecutablePathOnDiskTest, AnyUserJudgesEveryModeThatLetsTheItemsBeRead) {
  bundle_.giveAway();
  for (mode_t mode = 0; mode <= lastMode; ++mode) {
    setMode(item(), mode);
    const bool itemsBelowCanBeRead = isExecutable() || (mode & S_IXUSR) != 0;
    EXPECT_EQ(bundle_.isSecureWithoutPrivileges(),
              itemsBelowCanBeRead && !isWritableByGroupOrOthers(mode))
        << std::oct << mode;
  }
  setMode(item(), 0755);
}

TEST_P(SecureExecutablePathOnDiskTest, ASymbolicLinkToTheItemFails) {
  fs::rename(item(), elsewhere());
  fs::create_symlink(elsewhere(), item());
  ASSERT_TRUE(fs::exists(bundle_.items.back()));
  EXPECT_FALSE(bundle_.isSecure());
}

TEST_P(SecureExecutablePathOnDiskTest, ADanglingSymbolicLinkFails) {
  fs::remove_all(item());
  fs::create_symlink(elsewhere(), item());
  EXPECT_FALSE(bundle_.isSecure());
}

TEST_P(SecureExecutablePathOnDiskTest, AMissingItemFails) {
  fs::remove_all(item());
  EXPECT_FALSE(bundle_.isSecure());
}

TEST_P(SecureExecutablePathOnDiskTest, AnItemOfTheOtherTypeFails) {
  fs::remove_all(item());
  if (isExecutable()) {
    fs::create_directory(item());
  } else {
    std::ofstream(item()) << "no directory";
  }
  setMode(item(), 0755);
  EXPECT_FALSE(bundle_.isSecure());
}

TEST_P(SecureExecutablePathOnDiskTest, AFIFOFails) {
  fs::remove_all(item());
  require(mkfifo(item().c_str(), 0755), "mkfifo");
  EXPECT_FALSE(bundle_.isSecure());
}

TEST_P(SecureExecutablePathOnDiskTest, ASocketFails) {
  fs::remove_all(item());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(item().size(), sizeof address.sun_path);
  item().copy(address.sun_path, item().size());
  const int socketDescriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_GE(socketDescriptor, 0);
  const int bound =
      bind(socketDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  close(socketDescriptor);
  require(bound, "bind");
  setMode(item(), 0755);
  EXPECT_FALSE(bundle_.isSecure());
}

TEST_P(SecureExecutablePathOnDiskTest, AModeChangedBetweenTwoCallsChangesTheAnswer) {
  EXPECT_TRUE(bundle_.isSecure());
  setMode(item(), 0775);
  EXPECT_FALSE(bundle_.isSecure());
  setMode(item(), 0755);
  EXPECT_TRUE(bundle_.isSecure());
}

TEST_F(SecureExecutablePathOnDiskTest, AParentThatCannotBeSearchedFails) {
  EXPECT_TRUE(bundle_.isSecureWithoutPrivileges());
  setMode(bundle_.parent, 0);
  EXPECT_FALSE(bundle_.isSecureWithoutPrivileges());
  setMode(bundle_.parent, 0755);
}

TEST_F(SecureExecutablePathOnDiskTest, TheDirectoriesAboveTheApplicationDoNotMatter) {
  setMode(bundle_.parent, 0777);
  EXPECT_TRUE(bundle_.isSecure());
}

TEST_F(SecureExecutablePathOnDiskTest, AnotherOwnerDoesNotMatter) {
  if (geteuid() != 0) GTEST_SKIP() << "not the superuser";
  bundle_.giveAway();
  EXPECT_TRUE(bundle_.isSecure());
}

/// The whole assessment of a client that lies in that bundle and has no signature.
TEST_F(SecureExecutablePathOnDiskTest, TheAssessmentFollowsTheFiles) {
  const LinuxFileManager files;
  const FakeCodeSigning signing;
  FakeBundleProvider bundles;
  bundles.main.dictionary = {{"CFBundleIdentifier", "app.blindfold.mac"}};
  bundles.main.url = FileURL(bundle_.items.front());
  bundles.main.executable = FileURL(bundle_.items.back());
  const DeploymentSettings settings(bundles.main, files);
  const Platform& real = currentPlatform();
  const Platform platform{files,         bundles,       signing, real.helperConnections,
                          real.mainLoop, real.timedWork};

  using enum ClientAuthorizationMode;
  using enum ClientAuthorizationFailure;
  EXPECT_EQ(clientAuthorizationAssessment(platform, settings).mode, adHocBundleIdentity);
  setMode(bundle_.items[1], 0775);
  EXPECT_EQ(clientAuthorizationAssessment(platform, settings).failure, insecureExecutablePath);
  setMode(bundle_.items[1], 0700);
  EXPECT_EQ(clientAuthorizationAssessment(platform, settings).mode, adHocBundleIdentity);
}
}  // namespace
}  // namespace blindfold
