#pragma once

#include <optional>
#include <string>
#include <vector>

#include "blindfold/model/enumerations.h"
#include "devhelper/messages.h"

namespace blindfold {

/// The command line's contents.
struct Options {
  /// The service to serve; the development deployment's by default.
  std::string service = BLINDFOLD_DEVELOPMENT_SERVICE;
  std::optional<std::string> scriptPath = std::nullopt;
  std::optional<std::string> recordPath = std::nullopt;
  bool cameraInUse = false;
  CameraKind kind = CameraKind::builtIn;
  /// Whether to print `helpText()` and to do nothing else.
  bool help = false;

  bool operator==(const Options&) const = default;
};

/// A command line that cannot be used, to be reported together with `usageLine()`.
class OptionError : public UsageError {
 public:
  using UsageError::UsageError;
};

/// Reads the arguments that follow the program's name. Of an option given twice the last counts.
/// Throws `OptionError` for an unknown option, a missing operand or one that cannot be used.
Options parseOptions(const std::vector<std::string>& arguments);

/// "usage: blindfold-devhelper" and every option, as one line without a line break.
std::string usageLine();

/// The usage line and the meaning of every option, a line each.
std::string helpText();

}  // namespace blindfold
