#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

namespace blindfold {

/// The reason why the helper could not signal a launchd service's process.
class SignalControllerError : public std::exception {
 public:
  enum class Case { noPID, signalFailed };

  /// The service with this launchd label has no process.
  static SignalControllerError noPID(std::string label);

  /// The system refused to send the signal to the service's process, with this errno.
  static SignalControllerError signalFailed(std::string label, std::int32_t signalNumber,
                                            std::int32_t errorNumber);

  Case errorCase() const { return case_; }

  /// The service's launchd label.
  const std::string& label() const { return label_; }
  /// Present in `signalFailed` only.
  std::optional<std::int32_t> signalNumber() const { return signalNumber_; }
  /// Present in `signalFailed` only.
  std::optional<std::int32_t> errorNumber() const { return errorNumber_; }

  /// The text for people.
  const std::string& errorDescription() const { return description_; }
  /// The same text; see `errorDescription`.
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  SignalControllerError(Case errorCase, std::string label, std::string description);

  Case case_;
  std::string label_;
  std::optional<std::int32_t> signalNumber_;
  std::optional<std::int32_t> errorNumber_;
  std::string description_;
};

}  // namespace blindfold
