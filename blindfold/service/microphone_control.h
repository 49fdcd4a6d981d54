#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace blindfold {

/// The outcome of muting or unmuting the microphones, in numbers of devices.
struct MicrophoneMuteOutcome {
  std::int64_t totalInputDevices;  ///< The input devices there are.
  std::int64_t updatedDevices;     ///< Those that took the new state.
  std::int64_t failedDevices;      ///< Those that refused it.

  bool operator==(const MicrophoneMuteOutcome&) const = default;
};

/// The reason why the helper could not mute or unmute the microphones.
class MicrophoneControlError : public std::exception {
 public:
  enum class Case { hardwareQueryFailed, noInputDevices, noControllableInputs, muteWriteFailed };

  /// The system did not describe its audio devices; `detail` says why.
  static MicrophoneControlError hardwareQueryFailed(std::string detail);
  static MicrophoneControlError noInputDevices();
  static MicrophoneControlError noControllableInputs();
  static MicrophoneControlError muteWriteFailed();

  Case errorCase() const { return case_; }

  /// The detail of `hardwareQueryFailed`; empty in every other case.
  const std::string& detail() const { return detail_; }

  /// The text for people.
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
