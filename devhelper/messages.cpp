#include "devhelper/messages.h"

#include <cerrno>
#include <system_error>

#include "blindfold/platform/standard_stream.h"
#include "blindfold/text/one_line.h"

namespace blindfold {
namespace {
std::string betweenMarks(std::string line) {
  return line.insert(0, 1, '\'').append(1, '\'');
}
}  // namespace

std::string quoted(std::string_view word) {
  return betweenMarks(oneLineExcerpt(word, maximumQuotation));
}

std::string quotedPath(std::string_view path) {
  return betweenMarks(oneLine(path));
}

PlatformError systemFailure(const std::string& action) {
  return PlatformError{action + ": " + std::generic_category().message(errno)};
}

void print(const std::string& text) {
  const std::error_code error = writeAll(StandardStream::output, text);
  if (error) throw PlatformError("cannot write to standard output: " + error.message());
}

}  // namespace blindfold
