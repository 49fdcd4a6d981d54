#include "devhelper/recorder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "devhelper/messages.h"

namespace blindfold {
namespace {
constexpr mode_t newFileMode = 0666;

void appendEscaped(std::string& line, std::string_view bytes) {
  for (const char byte : bytes) {
    if (byte == '\n') {
      line += "\\n";
    } else if (byte == '\\') {
      line += "\\\\";
    } else {
      line += byte;
    }
  }
}
}  // namespace

std::string recordLine(const HelperMessage& message) {
  std::string line(describe(message.method).selector);
  line.append("\t").append(argumentForms[formOf(message.argument)].name).append("\t");
  appendEscaped(line, bytesOf(message.argument));
  return line += '\n';
}

Recorder::Recorder(std::string path)
    : path_(std::move(path)),
      file_(open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, newFileMode)) {
  struct stat status{};
  if (!file_ || fstat(file_.get(), &status) != 0) throw failure();
  isRegularFile_ = S_ISREG(status.st_mode);
  if (isRegularFile_ && endsInsideALine(status.st_size)) write("\n");
}

void Recorder::append(const HelperMessage& message) {
  struct stat before{};
  if (isRegularFile_ && fstat(file_.get(), &before) != 0) throw failure();
  try {
    write(recordLine(message));
  } catch (const PlatformError&) {
    // Should this fail too, the next start ends the line.
    if (isRegularFile_) [[maybe_unused]]
      const int result = ftruncate(file_.get(), before.st_size);
    throw;
  }
}

PlatformError Recorder::failure() const {
  return systemFailure("cannot record to " + quotedPath(path_));
}

bool Recorder::endsInsideALine(off_t size) const {
  if (size == 0) return false;
  const FileDescriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  char last = '\n';
  if (!file || pread(file.get(), &last, 1, size - 1) != 1) throw failure();
  return last != '\n';
}

void Recorder::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file_.get(), bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw failure();
    }
  }
}

}  // namespace blindfold
