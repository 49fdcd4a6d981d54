#include "devhelper/recorder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>
#include <variant>

#include "devhelper/quoted.h"
#include "devhelper/system_failure.h"

namespace blindfold {
namespace {

constexpr mode_t newFileMode = 0666;

struct RecordedArgument {
  std::string_view kind;
  std::string_view bytes;
};

RecordedArgument recorded(const MessageArgument& argument) {
  if (const auto* data = std::get_if<DataArgument>(&argument)) return {"data", data->bytes};
  const auto* text = std::get_if<TextArgument>(&argument);
  if (text == nullptr) return {"none", {}};
  if (!text->text) return {"absent", {}};
  return {"text", *text->text};
}

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
  const auto [kind, bytes] = recorded(message.argument);
  std::string line(describe(message.method).selector);
  line.append("\t").append(kind).append("\t");
  appendEscaped(line, bytes);
  return line += '\n';
}

Recorder::Recorder(std::string path)
    : path_(std::move(path)),
      file_(open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, newFileMode)) {
  if (!file_) throw systemFailure("cannot record to " + quotedPath(path_));
}

void Recorder::append(const HelperMessage& message) {
  const auto line = recordLine(message);
  std::string_view rest(line);
  while (!rest.empty()) {
    const ssize_t count = write(file_.get(), rest.data(), rest.size());
    if (count >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw systemFailure("cannot record to " + quotedPath(path_));
    }
  }
}

}  // namespace blindfold
