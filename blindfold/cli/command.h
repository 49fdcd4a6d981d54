#pragma once

#include <string>
#include <vector>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/task.h"

namespace blindfold {

/// How the process ends, apart from the abort of a hold selection that finds a duplicate label.
enum ExitStatus : int {
  succeeded = 0,  ///< The command's result was printed.
  failed = 1,     ///< A failure was reported.
  misused = 64,   ///< The command word is unknown (EX_USAGE of sysexits.h).
};

/// The process's arguments without the program's path. Texts: bytes that are not UTF-8 read as
/// U+FFFD, as the platform's own argument list has them.
using CommandArguments = std::vector<std::string>;

/// The arguments that `main` was given; none at all is fine.
CommandArguments commandArguments(int argumentCount, const char* const* arguments);

/// Runs the command that the first argument names ("status" when there is none) and ends the
/// process with its `ExitStatus`. Runs on the main loop; never returns to its awaiter. `client`
/// outlives it.
Task<void> runCommand(HelperClient& client, CommandArguments arguments);

}  // namespace blindfold
