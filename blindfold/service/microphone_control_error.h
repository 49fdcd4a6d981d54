#pragma once

#include <exception>
#include <string>

namespace blindfold {

/// Why the helper could not mute or unmute the microphones.
class MicrophoneControlError : public std::exception {
 public:
  enum class Case { hardwareQueryFailed, noInputDevices, noControllableInputs, muteWriteFailed };

  /// The system did not tell about its audio devices; `detail` says why.
  static MicrophoneControlError hardwareQueryFailed(std::string detail);
  static MicrophoneControlError noInputDevices();
  static MicrophoneControlError noControllableInputs();
  static MicrophoneControlError muteWriteFailed();

  Case errorCase() const { return case_; }

  /// What `hardwareQueryFailed` carries; empty in every other case.
  const std::string& detail() const { return detail_; }

  /// The text for the user.
  const std::string& errorDescription() const { return description_; }
  /// The same text; see `errorDescription`.
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  explicit MicrophoneControlError(Case errorCase, std::string detail = {});

  Case case_;
  std::string detail_;
  std::string description_;
};

}  // namespace blindfold
