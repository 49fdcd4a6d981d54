#pragma once

#include <optional>
#include <string>
#include <vector>

#include "blindfold/model/enumerations.h"

namespace blindfold {

/// What the command line asks for.
struct Options {
  /// The service to serve; the development deployment's by default.
  std::string service = BLINDFOLD_DEVELOPMENT_SERVICE;
  std::optional<std::string> scriptPath = std::nullopt;
  std::optional<std::string> recordPath = std::nullopt;
  bool cameraInUse = false;
  CameraKind kind = CameraKind::builtIn;

  bool operator==(const Options&) const = default;
};

/// Reads the arguments that follow the program's name. Of an option given twice the last counts.
/// Throws `UsageError` for an unknown option, a missing operand or one that cannot be used.
Options parseOptions(const std::vector<std::string>& arguments);

}  // namespace blindfold
