#include "blindfold/service/signal_controller_error.h"

#include <utility>

namespace blindfold {

SignalControllerError::SignalControllerError(Case errorCase, std::string label,
                                             std::string description)
    : case_(errorCase), label_(std::move(label)), description_(std::move(description)) {}

SignalControllerError SignalControllerError::noPID(std::string label) {
  std::string description = "No PID found for " + label + ".";
  return {Case::noPID, std::move(label), std::move(description)};
}

SignalControllerError SignalControllerError::signalFailed(std::string label,
                                                          std::int32_t signalNumber,
                                                          std::int32_t errorNumber) {
  std::string description = "Failed to send signal " + std::to_string(signalNumber) + " to " +
                            label + " (errno " + std::to_string(errorNumber) + ").";
  SignalControllerError error(Case::signalFailed, std::move(label), std::move(description));
  error.signalNumber_ = signalNumber;
  error.errorNumber_ = errorNumber;
  return error;
}

}  // namespace blindfold
