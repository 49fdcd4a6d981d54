#include "blindfold/cli/cli_error.h"

#include <utility>

namespace blindfold {

CLIError::CLIError(Case errorCase, std::string description)
    : case_(errorCase), description_(std::move(description)) {}

CLIError CLIError::missingArgument(std::string message) {
  return {Case::missingArgument, std::move(message)};
}

CLIError CLIError::unsupportedCamera(std::string message) {
  return {Case::unsupportedCamera, std::move(message)};
}

CLIError CLIError::noResolvedTargets() {
  return {Case::noResolvedTargets, "No built-in camera targets were resolved."};
}

}  // namespace blindfold
