#pragma once

#include <sys/un.h>

#include <optional>
#include <string>

namespace blindfold {

/// The system domain: the directory that holds the sockets of services. A constant of the build.
extern const char* const systemDomainDirectory;

/// The path of the service's socket in the system domain.
std::string serviceSocketPath(const std::string& serviceName);

/// The address of the service's socket, or nothing when the name cannot be that of a service (it is
/// empty, holds a slash or a NUL byte, or is too long for an address).
std::optional<sockaddr_un> serviceSocketAddress(const std::string& serviceName);

}  // namespace blindfold
