#include "blindfold/cli/command.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include "blindfold/cli/cli_error.h"
#include "blindfold/cli/hold_selection.h"
#include "blindfold/cli/output.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
/// A command's words behind its own: the operand, empty for a command that takes none.
using Operand = std::string;

/// Prints what `operation` yields.
template <class Record>
Task<void> print(Task<Record> operation) {
  printJSON(co_await std::move(operation));
}

Task<DetectionResult> detection(HelperClient& client) {
  const std::string reply = co_await client.detectTargets(client.statusRequestTimeout);
  co_return decodeDetectionResult(reply);
}

Task<OperationResult> holdOfDetectedCamera(HelperClient& client) {
  DetectionResult detected = co_await detection(client);
  HoldRequest request =
      makeBuiltInHoldRequest(detected.cameras, detected.selectedCameraID,
                             std::move(detected.resolvedTargets), detected.serviceStates);
  co_return co_await client.hold(std::move(request));
}

Task<void> status(HelperClient& client, const Operand&) {
  return print(client.currentState());
}

Task<void> detect(HelperClient& client, const Operand&) {
  return print(detection(client));
}

Task<void> holdBuiltIn(HelperClient& client, const Operand&) {
  return print(holdOfDetectedCamera(client));
}

Task<void> release(HelperClient& client, const Operand&) {
  return print(client.release(std::nullopt));
}

Task<void> restore(HelperClient& client, const Operand&) {
  return print(client.restoreAll());
}

Task<void> renew(HelperClient& client, const Operand& leaseID) {
  return print(client.renew(leaseID));
}

Task<void> mute(HelperClient& client, const Operand&) {
  return print(client.muteMicrophones());
}

Task<void> unmute(HelperClient& client, const Operand&) {
  return print(client.unmuteMicrophones());
}

struct Command {
  std::string_view word;
  std::string_view operand;  ///< The name of its operand in the usage; empty when it takes none.
  Task<void> (*run)(HelperClient&, const Operand&);
};

/// The commands, in the order of the usage. The first one is the default.
constexpr std::array commands{
    Command{"status", "", status},
    Command{"detect", "", detect},
    Command{"hold-built-in", "", holdBuiltIn},
    Command{"release", "", release},
    Command{"restore", "", restore},
    Command{"renew", "<lease-id>", renew},
    Command{"mute", "", mute},
    Command{"unmute", "", unmute},
};

std::string usage(std::string_view words) {
  return "usage: blindfoldctl " + std::string(words);
}

/// The command as its user types it: its word and its operand.
std::string synopsis(const Command& command) {
  std::string words(command.word);
  if (!command.operand.empty()) words.append(" ").append(command.operand);
  return words;
}

std::string usageOfAll() {
  std::string words;
  for (const Command& command : commands) words += (words.empty() ? "[" : "|") + synopsis(command);
  return usage(words + "]");
}

const Command* findCommand(std::string_view word) {
  const auto* command = std::find_if(commands.begin(), commands.end(),
                                     [&](const Command& each) { return each.word == word; });
  return command == commands.end() ? nullptr : command;
}

/// The word behind the command's own. Throws `CLIError` when a command that needs one has none.
Operand operandOf(const Command& command, CommandArguments arguments) {
  if (command.operand.empty()) return {};
  if (arguments.size() < 2) throw CLIError::missingArgument(usage(synopsis(command)));
  return std::move(arguments[1]);
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
  const Command* command = arguments.empty() ? &commands.front() : findCommand(arguments.front());
  if (command == nullptr) {
    writeError(usageOfAll() + "\n");
    std::exit(ExitStatus::misused);
  }
  try {
    co_await command->run(client, operandOf(*command, std::move(arguments)));
  } catch (...) {
    reportFailureAndExit(std::current_exception());
  }
  std::exit(ExitStatus::succeeded);
}

}  // namespace blindfold
