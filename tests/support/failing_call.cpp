#include "tests/support/failing_call.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <list>
#include <mutex>

namespace blindfold {
namespace {
std::mutex lock;
std::list<FailingCall*> failingCalls;
}  // namespace

FailingCall::FailingCall(std::string_view name, int error, int count, int successes)
    : name_(name), error_(error), successes_(successes), left_(count) {
  const std::lock_guard guard(lock);
  failingCalls.push_back(this);
}

FailingCall::~FailingCall() {
  const std::lock_guard guard(lock);
  failingCalls.remove(this);
}

int FailingCall::failures() const {
  const std::lock_guard guard(lock);
  return failures_;
}

std::optional<int> FailingCall::result(std::string_view name) {
  const std::lock_guard guard(lock);
  for (FailingCall* const each : failingCalls) {
    if (each->name_ != name || each->left_ == 0 || each->successes_-- > 0) continue;
    --each->left_;
    ++each->failures_;
    errno = each->error_;
    return each->error_ == 0 ? 0 : -1;
  }
  return std::nullopt;
}

}  // namespace blindfold

// The function that the linker puts in the place of each, and the function itself. The library's
// checked forms (_FORTIFY_SOURCE) take the size of the buffer as well.
// NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier): the linker's names
#define BLINDFOLD_FAILING(type, name, parameters, arguments)   \
  type __real_##name parameters;                               \
  type __wrap_##name parameters {                              \
    const auto result = blindfold::FailingCall::result(#name); \
    return result ? *result : __real_##name arguments;         \
  }
#define BLINDFOLD_FAILING_CHECKED(type, name, parameters, arguments) \
  type __real___##name##_chk parameters;                             \
  type __wrap___##name##_chk parameters {                            \
    const auto result = blindfold::FailingCall::result(#name);       \
    return result ? *result : __real___##name##_chk arguments;       \
  }

extern "C" {
BLINDFOLD_FAILING(int, accept4, (int fd, sockaddr* address, socklen_t* size, int flags),
                  (fd, address, size, flags))
BLINDFOLD_FAILING(int, bind, (int fd, const sockaddr* address, socklen_t size), (fd, address, size))
BLINDFOLD_FAILING(int, chmod, (const char* path, mode_t mode), (path, mode))
BLINDFOLD_FAILING(int, close, (int fd), (fd))
BLINDFOLD_FAILING(int, eventfd, (unsigned value, int flags), (value, flags))
BLINDFOLD_FAILING(int, flock, (int fd, int operation), (fd, operation))
BLINDFOLD_FAILING(int, fstat, (int fd, struct stat* status), (fd, status))
BLINDFOLD_FAILING(int, ftruncate, (int fd, off_t size), (fd, size))
BLINDFOLD_FAILING(int, getsockopt, (int fd, int level, int name, void* value, socklen_t* size),
                  (fd, level, name, value, size))
BLINDFOLD_FAILING(int, listen, (int fd, int backlog), (fd, backlog))
BLINDFOLD_FAILING(int, lstat, (const char* path, struct stat* status), (path, status))
BLINDFOLD_FAILING(int, mkdir, (const char* path, mode_t mode), (path, mode))
int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  const auto result = blindfold::FailingCall::result("open");
  return result ? *result : __real_open(path, flags, mode);
}
BLINDFOLD_FAILING(int, poll, (pollfd * fds, nfds_t count, int timeout), (fds, count, timeout))
BLINDFOLD_FAILING_CHECKED(int, poll, (pollfd * fds, nfds_t count, int timeout, std::size_t size),
                          (fds, count, timeout, size))
BLINDFOLD_FAILING(ssize_t, pread, (int fd, void* bytes, std::size_t size, off_t offset),
                  (fd, bytes, size, offset))
BLINDFOLD_FAILING(ssize_t, read, (int fd, void* bytes, std::size_t size), (fd, bytes, size))
BLINDFOLD_FAILING_CHECKED(ssize_t, read, (int fd, void* bytes, std::size_t size, std::size_t room),
                          (fd, bytes, size, room))
BLINDFOLD_FAILING(ssize_t, readlink, (const char* path, char* bytes, std::size_t size),
                  (path, bytes, size))
BLINDFOLD_FAILING_CHECKED(ssize_t, readlink,
                          (const char* path, char* bytes, std::size_t size, std::size_t room),
                          (path, bytes, size, room))
BLINDFOLD_FAILING(ssize_t, recv, (int fd, void* bytes, std::size_t size, int flags),
                  (fd, bytes, size, flags))
BLINDFOLD_FAILING_CHECKED(ssize_t, recv,
                          (int fd, void* bytes, std::size_t size, std::size_t room, int flags),
                          (fd, bytes, size, room, flags))
BLINDFOLD_FAILING(ssize_t, send, (int fd, const void* bytes, std::size_t size, int flags),
                  (fd, bytes, size, flags))
BLINDFOLD_FAILING(ssize_t, sendmsg, (int fd, const msghdr* message, int flags),
                  (fd, message, flags))
BLINDFOLD_FAILING(int, socket, (int domain, int type, int protocol), (domain, type, protocol))
BLINDFOLD_FAILING(int, unlink, (const char* path), (path))
BLINDFOLD_FAILING(ssize_t, write, (int fd, const void* bytes, std::size_t size), (fd, bytes, size))
}
// NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier)
