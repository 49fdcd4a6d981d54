#include "devhelper/linux/service_listener.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>

#include "blindfold/platform/linux/service_socket.h"
#include "devhelper/messages.h"

namespace blindfold {
namespace {
constexpr mode_t directoryMode = 0700;
constexpr mode_t lockMode = 0600;
constexpr mode_t socketMode = 0666;

/// Makes the directory at `path`, whose parent exists, with `directoryMode` whatever the process's
/// mask; one that exists stays as it is.
void makeDirectory(const std::string& path) {
  if (mkdir(path.c_str(), directoryMode) == 0) {
    if (chmod(path.c_str(), directoryMode) == 0) return;
  } else if (errno == EEXIST) {
    return;
  }
  throw systemFailure("cannot make the directory " + quotedPath(path));
}

FileDescriptor takeLock(const std::string& path, const std::string& serviceName) {
  FileDescriptor lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, lockMode));
  if (!lock) throw systemFailure("cannot open " + quotedPath(path));
  if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return lock;
  if (errno == EWOULDBLOCK) throw PlatformError(quoted(serviceName) + " is already served");
  throw systemFailure("cannot lock " + quotedPath(path));
}

/// Throws when something that is no socket stands at `path`. The holder of the lock calls this, so
/// a socket there has no server any more.
void expectNothingButASocket(const std::string& path) {
  struct stat item{};
  if (lstat(path.c_str(), &item) != 0) {
    if (errno == ENOENT) return;
    throw systemFailure("cannot look at " + quotedPath(path));
  }
  if (!S_ISSOCK(item.st_mode)) throw PlatformError(quotedPath(path) + " is in the way");
}

void removeStaleSocket(const std::string& path) {
  if (unlink(path.c_str()) == 0 || errno == ENOENT) return;
  throw systemFailure("cannot remove " + quotedPath(path));
}

FileDescriptor listenAt(const std::string& serviceName) {
  const ServiceSocketAddress address(serviceName);
  const std::string path = serviceSocketPath(serviceName);
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  // Nobody can connect before the socket listens, so its mode is in force from the first on.
  if (!socket || bind(socket.get(), address.get(), address.size()) != 0 ||
      chmod(path.c_str(), socketMode) != 0 || ::listen(socket.get(), SOMAXCONN) != 0) {
    throw systemFailure("cannot listen at " + quotedPath(path));
  }
  return socket;
}
}  // namespace

ServiceListener::ServiceListener(const std::string& serviceName)
    : serviceName_(serviceName), path_(serviceSocketPath(serviceName)) {
  assert(isServiceName(serviceName));
  makeDirectory(systemDomainDirectory);
  lock_ = takeLock(path_ + ".lock", serviceName);
}

void ServiceListener::listen() {
  assert(!socketFile_);
  expectNothingButASocket(path_);
  socketFile_.emplace(path_);
  removeStaleSocket(path_);
  socket_ = listenAt(serviceName_);
}

int ServiceListener::descriptor() const {
  assert(socket_);
  return socket_.get();
}

}  // namespace blindfold
