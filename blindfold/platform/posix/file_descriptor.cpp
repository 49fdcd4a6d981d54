#include "blindfold/platform/posix/file_descriptor.h"

#include <array>

namespace blindfold {

std::optional<std::string> readToEnd(const FileDescriptor& file, std::size_t maximumSize) {
  std::string bytes;
  std::array<char, std::size_t{32} * 1024> buffer;
  while (bytes.size() <= maximumSize) {
    const ssize_t count = read(file.get(), buffer.data(), buffer.size());
    if (count == 0) return bytes;
    if (count > 0) bytes.append(buffer.data(), static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR) return std::nullopt;
  }
  errno = EFBIG;
  return std::nullopt;
}

}  // namespace blindfold
