#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/cli/command.h"
#include "blindfold/cli/output.h"
#include "blindfold/helperclient/request.h"
#include "blindfold/helperclient/task_run.h"
#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"
#include "blindfold/text/one_line.h"
#include "blindfold/text/utf8.h"
#include "tests/fuzz/require.h"
#include "tests/support/fake_platform.h"
#include "tests/support/program.h"

// For any words and any ends of its requests the tool ends by itself: with status 0 and one line of
// JSON that is a record's, with status 1 and one line that says why, or with status 64 and the
// usage; one label of two running services aborts it. Each run is a child process, since it ends
// the one that it runs in.

// The counters of the edges that the process has taken, which the compiler adds.
extern "C" std::uint8_t __start___sancov_cntrs;  // NOLINT(bugprone-reserved-identifier)
extern "C" std::uint8_t __stop___sancov_cntrs;   // NOLINT(bugprone-reserved-identifier)

namespace blindfold {
namespace {
std::span<std::uint8_t> edgeCounters() {
  return {&__start___sancov_cntrs, &__stop___sancov_cntrs};
}

/// Memory of the fuzzer and its children, for the counters of a child.
std::uint8_t* makeSharedCounters() {
  void* const memory = mmap(nullptr, edgeCounters().size(), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  return static_cast<std::uint8_t*>(memory);
}

std::uint8_t* const sharedCounters = makeSharedCounters();

/// Takes the place of the fuzzer's own handlers in a child: hands over its counters and ends it.
void endChild(int status, void* /*none*/) {
  std::memcpy(sharedCounters, edgeCounters().data(), edgeCounters().size());
  _exit(status);
}

/// Words, each behind a NUL, and then ends of requests, each behind a byte 0xFF, which is none of
/// UTF-8: its first byte is the kind, the others are its bytes.
struct Input {
  std::vector<std::string> words;
  std::vector<std::string> ends;
};

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts(1);
  for (const char character : text) {
    if (character == separator) {
      parts.emplace_back();
    } else {
      parts.back() += character;
    }
  }
  return parts;
}

Input readInput(std::string_view bytes) {
  std::vector<std::string> ends = split(bytes, '\xFF');
  Input input{.words = split(ends.front(), '\0'), .ends = {}};
  ends.erase(ends.begin());
  input.ends = std::move(ends);
  return input;
}

/// Ends a request as `end` says; by its time limit when it says nothing.
void endRequest(FakePlatform& fake, const FakeHelperConnection& connection, std::string_view end) {
  const char kind = end.empty() ? 't' : end.front();
  if (kind == 'r') return connection.reply(Bytes(end.substr(1)));
  if (kind == 'e') return connection.failMessage(std::string(end.substr(1)));
  if (kind == 'i') return connection.interrupt();
  if (kind == 'v') return connection.becomeInvalid();
  fake.timedWork.elapse();
}

/// Runs the command, whose requests end as the input says, to the end of this process.
[[noreturn]] void runInThisProcess(const Input& input) {
  std::signal(SIGABRT, SIG_DFL);
  on_exit(endChild, nullptr);
  std::vector<const char*> arguments{"blindfoldctl"};
  for (const std::string& word : input.words) arguments.push_back(word.c_str());
  FakePlatform fake;
  HelperClient client(std::make_shared<const HelperClientState>(
      /*skipPrecheck=*/true, fake.platform, fake.settings));
  spawnOn(fake.mainLoop, runCommand(client, commandArguments(static_cast<int>(arguments.size()),
                                                             arguments.data())));
  for (std::size_t index = 0;; ++index) {
    fake.mainLoop.runUntilIdle();
    require(index < fake.connections.connections().size(), "a run that waits has sent a request");
    endRequest(fake, *fake.connections.connections()[index],
               index < input.ends.size() ? std::string_view(input.ends[index]) : "");
  }
}

/// Whether `text` is one line, its end included.
bool isLine(std::string_view text) {
  return text.find('\n') == text.size() - 1 && !text.empty();
}

template <class... Records>
bool isOneOf(const std::string& line) {
  const auto is = [&]<class T>(const std::optional<T>& record) {
    return record && makeJSONEncoder().encode(*record) == line;
  };
  const auto decode = [&]<class T>(std::optional<T>) -> std::optional<T> {
    try {
      return JSONDecoder().decode<T>(line);
    } catch (const DecodingError&) {
      return std::nullopt;
    }
  };
  return (is(decode(std::optional<Records>())) || ...);
}

void requireResult(const ProgramResult& run) {
  require(run.standardError.empty(), "a result comes alone");
  require(isLine(run.standardOutput), "a result is one line");
  const std::string line(run.standardOutput, 0, run.standardOutput.size() - 1);
  require(isOneOf<DetectionResult, HoldState, OperationResult>(line), "a result is a record");
}

void requireFailure(const ProgramResult& run) {
  require(run.standardOutput.empty(), "a failure comes alone");
  require(isLine(run.standardError), "a failure is one line");
  const std::string line(run.standardError, 0, run.standardError.size() - 1);
  require(line == oneLine(line), "a terminal does not act on a failure");
}
}  // namespace
}  // namespace blindfold

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace blindfold;  // NOLINT(google-build-using-namespace): this is the program
  const Input input = readInput({reinterpret_cast<const char*>(data), size});
  const ProgramResult run = runInChild([&] { runInThisProcess(input); });
  std::memcpy(edgeCounters().data(), sharedCounters, edgeCounters().size());
  require(!run.deadlineExpired, "a run ends");
  if (run.signal) {
    require(*run.signal == SIGABRT && run.standardError.starts_with("Duplicate values for key: '"),
            "only a duplicate label aborts");
    requireFailure(run);
  } else if (*run.exitStatus == ExitStatus::succeeded) {
    requireResult(run);
  } else {
    requireFailure(run);
    const bool isUsage = run.standardError.starts_with("usage: blindfoldctl [status|");
    require(*run.exitStatus == (isUsage ? ExitStatus::misused : ExitStatus::failed),
            "the usage has its status, and every other failure the other");
  }
  return 0;
}
