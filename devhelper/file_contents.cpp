#include "devhelper/file_contents.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "blindfold/platform/linux/file_descriptor.h"
#include "devhelper/quoted.h"
#include "devhelper/system_failure.h"

namespace blindfold {
namespace {

constexpr std::size_t readSize = std::size_t{256} * 1024;

}  // namespace

Bytes readFile(const std::string& path, std::size_t maximumSize) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) throw systemFailure("cannot read " + quotedPath(path));
  Bytes bytes;
  std::vector<char> buffer(readSize);
  for (;;) {
    const ssize_t count = read(file.get(), buffer.data(), buffer.size());
    if (count == 0) return bytes;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw systemFailure("cannot read " + quotedPath(path));
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
    if (bytes.size() > maximumSize) throw PlatformError(quotedPath(path) + " is too large");
  }
}

}  // namespace blindfold
