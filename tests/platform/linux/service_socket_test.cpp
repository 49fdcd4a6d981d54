#include "blindfold/platform/linux/service_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>

namespace blindfold {
namespace {

// The longest name whose path, with the NUL byte that ends it, fits into an address.
std::size_t longestName() {
  return sizeof sockaddr_un{}.sun_path - std::string(systemDomainDirectory).size() - 2;
}

TEST(ServiceSocketTest, TheSystemDomainIsAnAbsolutePath) {
  EXPECT_EQ(std::string(systemDomainDirectory).front(), '/');
}

TEST(ServiceSocketTest, AServiceIsASocketInTheSystemDomain) {
  EXPECT_EQ(serviceSocketPath("app.blindfold.helper"),
            std::string(systemDomainDirectory) + "/app.blindfold.helper");
}

TEST(ServiceSocketTest, TheAddressHoldsThePath) {
  const auto address = serviceSocketAddress("app.blindfold.helper").value_or(sockaddr_un{});
  EXPECT_EQ(address.sun_family, AF_UNIX);
  EXPECT_EQ(address.sun_path, serviceSocketPath("app.blindfold.helper"));
}

TEST(ServiceSocketTest, AnEmptyNameIsNoService) {
  EXPECT_FALSE(serviceSocketAddress(""));
}

TEST(ServiceSocketTest, ANameWithASlashIsNoService) {
  EXPECT_FALSE(serviceSocketAddress("../helper"));
}

TEST(ServiceSocketTest, ANameWithANULByteIsNoService) {
  EXPECT_FALSE(serviceSocketAddress(std::string("helper\0.dev", 11)));
}

TEST(ServiceSocketTest, TheLongestNameThatFitsIsAService) {
  const std::string name(longestName(), 'x');
  const auto address = serviceSocketAddress(name).value_or(sockaddr_un{});
  EXPECT_EQ(address.sun_path[sizeof address.sun_path - 2], 'x');
  EXPECT_EQ(address.sun_path[sizeof address.sun_path - 1], '\0');
}

TEST(ServiceSocketTest, ANameThatIsTooLongIsNoService) {
  EXPECT_FALSE(serviceSocketAddress(std::string(longestName() + 1, 'x')));
  EXPECT_FALSE(serviceSocketAddress(std::string(1'000'000, 'x')));
}

}  // namespace
}  // namespace blindfold
