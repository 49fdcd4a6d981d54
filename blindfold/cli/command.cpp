#include "blindfold/cli/command.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include "blindfold/cli/cli_error.h"
#include "blindfold/cli/exit_status.h"
#include "blindfold/cli/hold_selection.h"
#include "blindfold/cli/output.h"
#include "blindfold/helperclient/decode_reply.h"
#include "blindfold/model/detection.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {

constexpr std::string_view defaultCommandWord = "status";

constexpr const char* usage =
    "usage: blindfoldctl "
    "[status|detect|hold-built-in|release|restore|renew <lease-id>|mute|unmute]\n";

constexpr const char* renewUsage = "usage: blindfoldctl renew <lease-id>";

Task<DetectionResult> detection(HelperClient& client) {
  const Bytes reply = co_await client.detectTargets(client.statusRequestTimeout);
  co_return decodeReply<DetectionResult>(reply);
}

Task<void> holdBuiltIn(HelperClient& client, CommandArguments) {
  const DetectionResult detected = co_await detection(client);
  HoldRequest request = makeBuiltInHoldRequest(detected.cameras, detected.selectedCameraID,
                                               detected.resolvedTargets, detected.serviceStates);
  printJSON(co_await client.hold(std::move(request)));
}

Task<void> release(HelperClient& client, CommandArguments) {
  printJSON(co_await client.release(std::nullopt));
}

Task<void> restore(HelperClient& client, CommandArguments) {
  printJSON(co_await client.restoreAll());
}

Task<void> renew(HelperClient& client, CommandArguments arguments) {
  if (arguments.size() < 2) throw CLIError::missingArgument(renewUsage);
  printJSON(co_await client.renew(std::move(arguments[1])));
}

Task<void> mute(HelperClient& client, CommandArguments) {
  printJSON(co_await client.muteMicrophones());
}

Task<void> unmute(HelperClient& client, CommandArguments) {
  printJSON(co_await client.unmuteMicrophones());
}

Task<void> detect(HelperClient& client, CommandArguments) {
  printJSON(co_await detection(client));
}

Task<void> status(HelperClient& client, CommandArguments) {
  printJSON(co_await client.currentState());
}

struct Command {
  std::string_view word;
  Task<void> (*run)(HelperClient&, CommandArguments);
};

constexpr std::array commands{
    Command{"hold-built-in", holdBuiltIn},
    Command{"release", release},
    Command{"restore", restore},
    Command{"renew", renew},
    Command{"mute", mute},
    Command{"unmute", unmute},
    Command{"detect", detect},
    Command{"status", status},
};

const Command* findCommand(std::string_view word) {
  const auto* command = std::find_if(commands.begin(), commands.end(),
                                     [&](const Command& each) { return each.word == word; });
  return command == commands.end() ? nullptr : command;
}

}  // namespace

CommandArguments commandArguments(int argumentCount, const char* const* arguments) {
  CommandArguments result;
  for (int index = 1; index < argumentCount; ++index) {
    result.push_back(repairUTF8(arguments[index]));
  }
  return result;
}

Task<void> runCommand(HelperClient& client, CommandArguments arguments) {
  const Command* command = findCommand(arguments.empty() ? defaultCommandWord : arguments.front());
  if (command == nullptr) {
    writeError(usage);
    std::exit(ExitStatus::misused);
  }
  try {
    co_await command->run(client, std::move(arguments));
  } catch (...) {
    reportFailureAndExit(std::current_exception());
  }
  std::exit(ExitStatus::succeeded);
}

}  // namespace blindfold
