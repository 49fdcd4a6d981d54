#pragma once

namespace blindfold {

/// How the process ends, apart from the abort of a hold selection that finds a duplicate label.
enum ExitStatus : int {
  /// The command's result was printed.
  succeeded = 0,
  /// A failure was reported.
  failed = 1,
  /// The command word is unknown (EX_USAGE of sysexits.h).
  misused = 64,
};

}  // namespace blindfold
