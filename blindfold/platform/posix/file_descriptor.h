#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace blindfold {

/// A file descriptor that is closed with its owner.
class FileDescriptor {
 public:
  /// No descriptor.
  FileDescriptor() = default;

  /// Owns `descriptor`; a negative one, as failing system calls return it, is none.
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}

  FileDescriptor(FileDescriptor&& other) noexcept
      : descriptor_(std::exchange(other.descriptor_, none)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    other.reset();
    return *this;
  }
  ~FileDescriptor() { reset(); }

  explicit operator bool() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }

  void reset() noexcept {
    if (descriptor_ >= 0) close(std::exchange(descriptor_, none));
  }

 private:
  static constexpr int none = -1;

  int descriptor_ = none;
};

/// Whether a system call that failed with `error` was not refused: it would have had to wait on a
/// descriptor that does not block (EAGAIN), or a signal interrupted it (EINTR).
constexpr bool shouldTryAgain(int error) {
  return error == EAGAIN || error == EINTR;
}

/// The bytes of `file` from its position to its end. `std::nullopt`, with the reason in errno, when
/// they cannot be read, or (EFBIG) are more than `maximumSize`.
std::optional<std::string> readToEnd(const FileDescriptor& file, std::size_t maximumSize);

}  // namespace blindfold
