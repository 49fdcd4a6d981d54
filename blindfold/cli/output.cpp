#include "blindfold/cli/output.h"

#include <cstdlib>
#include <new>
#include <system_error>

#include "blindfold/cli/command.h"
#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/platform/standard_stream.h"
#include "blindfold/text/one_line.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
/// Ends the process without its exit handlers, which may need memory.
[[noreturn]] void reportOutOfMemory() {
  writeError("Out of memory.\n");
  std::_Exit(ExitStatus::failed);
}
}  // namespace

void reportExhaustedMemory() {
  std::set_new_handler(reportOutOfMemory);
}

void printLine(std::string line) {
  if (!isValidUTF8(line)) line.clear();
  line += '\n';
  std::error_code error = writeAll(StandardStream::output, line);
  if (!error) error = closeStream(StandardStream::output);
  if (error) throw std::system_error(error, "Standard output cannot be written");
}

void writeError(std::string_view text) noexcept {
  // A failure to write has nowhere to be reported.
  [[maybe_unused]] const std::error_code error = writeAll(StandardStream::error, text);
}

void reportFailureAndExit(const std::exception_ptr& error) {
  writeError(oneLine(errorDescription(error)) + '\n');
  std::exit(ExitStatus::failed);
}

}  // namespace blindfold
