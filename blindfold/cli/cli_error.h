#pragma once

#include <exception>
#include <string>

namespace blindfold {

/// The front end's own failures. The description is the whole message for the user: one line, no
/// decoration.
class CLIError : public std::exception {
 public:
  enum class Case { missingArgument, unsupportedCamera, noResolvedTargets };

  /// Failures whose message is their payload.
  static CLIError missingArgument(std::string message);
  static CLIError unsupportedCamera(std::string message);

  /// "No built-in camera targets were resolved."
  static CLIError noResolvedTargets();

  Case errorCase() const { return case_; }
  const std::string& errorDescription() const { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  CLIError(Case errorCase, std::string description);

  Case case_;
  std::string description_;
};

}  // namespace blindfold
