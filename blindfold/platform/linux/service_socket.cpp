#include "blindfold/platform/linux/service_socket.h"

#include <fcntl.h>

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace blindfold {
namespace {
constexpr std::size_t maximumAddressLength = sizeof(sockaddr_un::sun_path) - 1;
constexpr std::string_view descriptorDirectory = "/proc/self/fd/";
/// Of a name behind every descriptor: the digits of INT_MAX and a slash come before it.
constexpr std::size_t longestNameBehindDescriptor =
    maximumAddressLength - descriptorDirectory.size() - 10 - 1;

bool fitsAddress(const std::string& path) {
  return path.size() <= maximumAddressLength;
}
}  // namespace

bool isServiceName(std::string_view name, std::string_view directory) {
  constexpr std::string_view excluded("/\0", 2);
  if (name.empty() || name.find_first_of(excluded) != std::string_view::npos) return false;
  return name.size() <= longestNameBehindDescriptor ||
         directory.size() + 1 + name.size() <= maximumAddressLength;
}

std::string serviceSocketPath(const std::string& serviceName) {
  return std::string(systemDomainDirectory) + '/' + serviceName;
}

ServiceSocketAddress::ServiceSocketAddress(const std::string& serviceName,
                                           const std::string& directory) {
  assert(isServiceName(serviceName));
  std::string path = directory + '/' + serviceName;
  if (!fitsAddress(path)) {
    directory_ = FileDescriptor(open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    path = std::string(descriptorDirectory) + std::to_string(directory_.get()) + '/' + serviceName;
  }
  assert(fitsAddress(path));
  address_.sun_family = AF_UNIX;
  std::copy(path.begin(), path.end(), address_.sun_path);
}

}  // namespace blindfold
