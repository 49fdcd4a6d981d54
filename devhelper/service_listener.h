#pragma once

#include <string>

#include "blindfold/platform/linux/file_descriptor.h"

namespace blindfold {

/// The socket of a service in the system domain, open to every user, and the right to serve it,
/// which one process has at a time: it keeps a lock on the file "<socket>.lock". The file stays
/// when the lock goes, for a process that waits at a removed file would share the right.
class ServiceListener {
 public:
  /// Makes the system domain's directory when it is missing, takes the lock, removes a socket that
  /// a former server left behind, and listens. Throws `PlatformError` with a one-line text.
  explicit ServiceListener(const std::string& serviceName);
  ServiceListener(const ServiceListener&) = delete;
  ServiceListener& operator=(const ServiceListener&) = delete;

  /// Removes the socket, then lets go of the lock.
  ~ServiceListener();

  /// The listening socket, which does not block.
  int descriptor() const { return socket_.get(); }

 private:
  std::string path_;
  FileDescriptor lock_;
  FileDescriptor socket_;
};

}  // namespace blindfold
