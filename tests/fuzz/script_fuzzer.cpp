#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "blindfold/text/one_line.h"
#include "devhelper/messages.h"
#include "devhelper/script.h"
#include "tests/fuzz/require.h"

// Any text of a script is refused with one line that names the script, or each
// method's last directive repeats.

namespace blindfold {
namespace {
void requireRepetition(Script script, HelperMethod method, std::size_t longest) {
  std::optional<Answer> last = script.next(method);
  for (std::size_t count = 0; last && count < longest; ++count) last = script.next(method);
  require(script.next(method) == last, "the last directive repeats");
}
}  // namespace
}  // namespace blindfold

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace blindfold;  // NOLINT(google-build-using-namespace): this is the program
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  // Files are not the fuzzer's to read.
  if (text.find("reply-file") != std::string_view::npos) return -1;
  try {
    const Script script(text, "script");
    for (const auto& row : helperProtocol) requireRepetition(script, row.method, size);
  } catch (const UsageError& error) {
    require(std::string_view(error.what()).starts_with("script:"), "an error names the script");
    require(error.what() == oneLine(error.what()), "an error is one line");
  }
  return 0;
}
