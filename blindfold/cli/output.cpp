#include "blindfold/cli/output.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

#include "blindfold/cli/exit_status.h"
#include "blindfold/helperclient/error_description.h"
#include "blindfold/text/one_line.h"
#include "blindfold/text/utf8.h"

namespace blindfold {

void printLine(std::string_view line) {
  const std::string_view text = isValidUTF8(line) ? line : std::string_view();
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
                       std::fputc('\n', stdout) != EOF && std::fflush(stdout) == 0;
  if (!written) {
    throw std::system_error(errno, std::generic_category(), "Standard output cannot be written");
  }
}

void reportFailureAndExit(const std::exception_ptr& error) {
  const std::string line = oneLine(errorDescription(error)) + '\n';
  std::fputs(line.c_str(), stderr);
  std::exit(ExitStatus::failed);
}

}  // namespace blindfold
