#include "devhelper/service_listener.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "blindfold/platform/linux/service_socket.h"
#include "devhelper/quoted.h"
#include "devhelper/readable_directory.h"
#include "devhelper/system_failure.h"

namespace blindfold {
namespace {

constexpr mode_t lockMode = 0600;
constexpr mode_t socketMode = 0666;

FileDescriptor takeLock(const std::string& path, const std::string& serviceName) {
  FileDescriptor lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, lockMode));
  if (!lock) throw systemFailure("cannot open " + quotedPath(path));
  if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return lock;
  if (errno == EWOULDBLOCK) throw PlatformError(quoted(serviceName) + " is already served");
  throw systemFailure("cannot lock " + quotedPath(path));
}

/// Only the holder of the lock calls this, so whoever made a socket at `path` has gone.
void removeStaleSocket(const std::string& path) {
  struct stat item{};
  if (lstat(path.c_str(), &item) != 0 && errno == ENOENT) return;
  if (!S_ISSOCK(item.st_mode)) throw PlatformError(quotedPath(path) + " is in the way");
  if (unlink(path.c_str()) != 0) throw systemFailure("cannot remove " + quotedPath(path));
}

FileDescriptor listenAt(const sockaddr_un& address) {
  const std::string path(address.sun_path);
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  // Nobody can connect before the socket listens, so its mode is in force from the first on.
  if (!socket ||
      bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      chmod(path.c_str(), socketMode) != 0 || listen(socket.get(), SOMAXCONN) != 0) {
    throw systemFailure("cannot listen at " + quotedPath(path));
  }
  return socket;
}

}  // namespace

ServiceListener::ServiceListener(const std::string& serviceName)
    : path_(serviceSocketPath(serviceName)) {
  const auto address = serviceSocketAddress(serviceName);
  if (!address) throw PlatformError(quoted(serviceName) + " cannot be the name of a service");
  makeReadableDirectory(systemDomainDirectory);
  lock_ = takeLock(path_ + ".lock", serviceName);
  removeStaleSocket(path_);
  socket_ = listenAt(*address);
}

ServiceListener::~ServiceListener() {
  unlink(path_.c_str());
}

}  // namespace blindfold
