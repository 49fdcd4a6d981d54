#include "blindfold/platform/linux/service_socket.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "blindfold/platform/posix/file_descriptor.h"
#include "tests/platform/linux/test_helper.h"

namespace blindfold {
namespace {
constexpr std::size_t longestPath = sizeof(sockaddr_un::sun_path) - 1;

std::string pathIn(const ServiceSocketAddress& address) {
  const auto* const local = reinterpret_cast<const sockaddr_un*>(address.get());
  return {local->sun_path, strnlen(local->sun_path, sizeof local->sun_path)};
}

FileDescriptor makeSocket() {
  return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

/// Whether a client reaches a server in `directory`, each by an address of its own.
bool canBeReached(const std::string& directory, const std::string& name) {
  const auto server = makeSocket();
  const ServiceSocketAddress bound(name, directory);
  if (bind(server.get(), bound.get(), bound.size()) != 0 || listen(server.get(), 1) != 0) {
    return false;
  }
  const auto client = makeSocket();
  const ServiceSocketAddress reached(name, directory);
  return connect(client.get(), reached.get(), reached.size()) == 0;
}

/// A new directory whose path has at least so many bytes; removed with its owner.
class LongDirectory {
 public:
  explicit LongDirectory(std::size_t size) {
    std::string root = std::filesystem::temp_directory_path() / "service-socket-XXXXXX";
    root_ = mkdtemp(root.data());
    path_ = root_;
    while (path_.native().size() < size) path_ /= "a b\"<\u00e9";
    std::filesystem::create_directories(path_);
  }
  LongDirectory(const LongDirectory&) = delete;
  LongDirectory& operator=(const LongDirectory&) = delete;
  ~LongDirectory() { std::filesystem::remove_all(root_); }

  std::string path() const { return path_; }

 private:
  std::filesystem::path root_;
  std::filesystem::path path_;
};

TEST(ServiceSocketTest, TheSystemDomainIsAnAbsolutePath) {
  EXPECT_EQ(std::string(systemDomainDirectory).front(), '/');
}

TEST(ServiceSocketTest, AServiceIsASocketInTheSystemDomain) {
  EXPECT_EQ(serviceSocketPath("app.blindfold.helper"),
            std::string(systemDomainDirectory) + "/app.blindfold.helper");
}

TEST(ServiceSocketTest, AnAddressHoldsAPathThatFits) {
  const int before = openDescriptorCount();
  const ServiceSocketAddress address("app.blindfold.helper", "/run");
  EXPECT_EQ(address.get()->sa_family, AF_UNIX);
  EXPECT_EQ(pathIn(address), "/run/app.blindfold.helper");
  EXPECT_EQ(openDescriptorCount(), before);
}

TEST(ServiceSocketTest, AnAddressTakesThePathOfItsLengthWhole) {
  const std::string directory = "/" + std::string(longestPath - 6, 'd');
  EXPECT_EQ(pathIn(ServiceSocketAddress("name", directory)), directory + "/name");
}

TEST(ServiceSocketTest, AServiceInADirectoryOfAnyLengthCanBeReached) {
  for (const std::size_t size :
       {longestPath - 6, longestPath - 5, std::size_t{108}, std::size_t{200}, std::size_t{1'000}}) {
    const LongDirectory directory(size);
    EXPECT_TRUE(canBeReached(directory.path(), "app.blindfold.helper")) << size;
  }
}

TEST(ServiceSocketTest, TheLongestNameOfAServiceCanBeReachedInALongDirectory) {
  const LongDirectory directory(200);
  const std::string name(82, 'x');
  EXPECT_TRUE(isServiceName(name));
  EXPECT_TRUE(canBeReached(directory.path(), name));
}

TEST(ServiceSocketTest, AnAddressClosesTheDirectoryThatItHoldsOpen) {
  const LongDirectory directory(200);
  const int before = openDescriptorCount();
  {
    const ServiceSocketAddress address("name", directory.path());
    EXPECT_EQ(openDescriptorCount(), before + 1);
  }
  EXPECT_EQ(openDescriptorCount(), before);
}

TEST(ServiceSocketTest, AnAddressInADirectoryThatIsMissingNamesNothing) {
  EXPECT_FALSE(canBeReached("/nowhere/" + std::string(200, 'd'), "name"));
}

TEST(ServiceSocketTest, ANameMayBeLongerWhereItsPathFitsIntoAnAddress) {
  EXPECT_TRUE(isServiceName(std::string(longestPath - 3, 'x'), "/d"));
  EXPECT_FALSE(isServiceName(std::string(longestPath - 2, 'x'), "/d"));
}

TEST(ServiceSocketTest, AnEmptyNameIsNoService) {
  EXPECT_FALSE(isServiceName(""));
}

TEST(ServiceSocketTest, ANameWithASlashIsNoService) {
  EXPECT_FALSE(isServiceName("../helper"));
}

TEST(ServiceSocketTest, ANameWithANULByteIsNoService) {
  EXPECT_FALSE(isServiceName(std::string("helper\0.dev", 11)));
}

TEST(ServiceSocketTest, ANameThatFitsNoAddressIsNoService) {
  EXPECT_FALSE(isServiceName(std::string(longestPath, 'x')));
  EXPECT_FALSE(isServiceName(std::string(1'000'000, 'x')));
}
}  // namespace
}  // namespace blindfold
