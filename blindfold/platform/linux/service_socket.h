#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <string>
#include <string_view>

#include "blindfold/platform/posix/file_descriptor.h"

namespace blindfold {

/// The system domain: the directory of the sockets of services, an absolute path. A constant of the
/// build.
extern const char* const systemDomainDirectory;

/// Whether `name` can be that of a service whose socket is in `directory`: not empty, without slash
/// and NUL byte, and short enough for an address.
bool isServiceName(std::string_view name, std::string_view directory = systemDomainDirectory);

/// The path of the service's socket in the system domain.
std::string serviceSocketPath(const std::string& serviceName);

/// The address of a service's socket, for connect(2) and bind(2). An address takes 107 bytes. It
/// holds the path where that fits; else it names the directory by a descriptor that it holds open
/// ("/proc/self/fd/N/NAME"), and is valid in this process as long as this object lives. An address
/// in a directory that cannot be opened names nothing.
class ServiceSocketAddress {
 public:
  /// `serviceName` can be that of a service (`isServiceName`).
  explicit ServiceSocketAddress(const std::string& serviceName,
                                const std::string& directory = systemDomainDirectory);

  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  static constexpr socklen_t size() { return sizeof(sockaddr_un); }

 private:
  FileDescriptor directory_;
  sockaddr_un address_{};
};

}  // namespace blindfold
