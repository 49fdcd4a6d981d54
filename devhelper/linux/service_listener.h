#pragma once

#include <optional>
#include <string>

#include "blindfold/platform/posix/file_descriptor.h"
#include "devhelper/termination.h"

namespace blindfold {

/// The right to serve a service, which one process has at a time, and the service's socket in the
/// system domain, open to every user who may enter the directory. The right is a lock on the file
/// "<socket>.lock". That file is never removed: a process that waits for the lock of a removed file
/// would share the right.
class ServiceListener {
 public:
  /// Makes the system domain's directory, for its user only, when it is missing, and takes the
  /// lock. `serviceName` can be that of a service. Throws `PlatformError` with a one-line text,
  /// when another process serves the service for example.
  explicit ServiceListener(const std::string& serviceName);

  /// Removes a socket that a former server left behind, and listens. Throws `PlatformError` with a
  /// one-line text. Call it once.
  void listen();

  /// The listening socket, which does not block. Call it after `listen`.
  int descriptor() const;

 private:
  std::string serviceName_;
  std::string path_;
  FileDescriptor lock_;
  std::optional<EphemeralFile> socketFile_;  ///< Removed before the lock is released.
  FileDescriptor socket_;
};

}  // namespace blindfold
