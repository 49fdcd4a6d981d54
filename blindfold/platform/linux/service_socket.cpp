#include "blindfold/platform/linux/service_socket.h"

#include <sys/socket.h>

#include <algorithm>
#include <string_view>

namespace blindfold {
namespace {

bool isServiceName(std::string_view name) {
  return !name.empty() && name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

}  // namespace

const char* const systemDomainDirectory = BLINDFOLD_SYSTEM_DOMAIN_DIRECTORY;

std::string serviceSocketPath(const std::string& serviceName) {
  return std::string(systemDomainDirectory) + '/' + serviceName;
}

std::optional<sockaddr_un> serviceSocketAddress(const std::string& serviceName) {
  const std::string path = serviceSocketPath(serviceName);
  sockaddr_un address{};
  if (!isServiceName(serviceName) || path.size() >= sizeof address.sun_path) return std::nullopt;
  address.sun_family = AF_UNIX;
  std::copy(path.begin(), path.end(), address.sun_path);
  return address;
}

}  // namespace blindfold
