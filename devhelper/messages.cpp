#include "devhelper/messages.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

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
  if (std::fputs(text.c_str(), stdout) == EOF || std::fflush(stdout) == EOF) {
    throw systemFailure("cannot write to standard output");
  }
}

}  // namespace blindfold
