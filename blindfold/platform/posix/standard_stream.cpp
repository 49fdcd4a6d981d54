#include "blindfold/platform/standard_stream.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace blindfold {
namespace {
static_assert(EAGAIN == EWOULDBLOCK, "write(2) may fail with either where they differ (POSIX)");

int descriptorOf(StandardStream stream) {
  return static_cast<int>(stream);
}

std::error_code lastError() noexcept {
  return {errno, std::generic_category()};
}

/// Waits until `descriptor` takes bytes or has failed, and returns whether the wait itself failed.
std::error_code waitForRoom(int descriptor) noexcept {
  pollfd stream{descriptor, POLLOUT, 0};
  if (poll(&stream, 1, /*timeout=*/-1) < 0 && errno != EINTR) return lastError();
  return {};
}
}  // namespace

std::error_code writeAll(StandardStream stream, std::string_view bytes) noexcept {
  const int descriptor = descriptorOf(stream);
  while (!bytes.empty()) {
    const ssize_t count = write(descriptor, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      if (const std::error_code error = waitForRoom(descriptor)) return error;
    } else if (errno != EINTR) {
      return lastError();
    }
  }
  return {};
}

std::error_code closeStream(StandardStream stream) noexcept {
  // An interrupted close has taken the bytes: the descriptor is gone, and trying again could close
  // another's.
  if (close(descriptorOf(stream)) != 0 && errno != EINTR) return lastError();
  return {};
}

}  // namespace blindfold
