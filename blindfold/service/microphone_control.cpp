#include "blindfold/service/microphone_control.h"

#include <utility>

#include "blindfold/text/enumeration_table.h"

namespace blindfold {
namespace {
using Case = MicrophoneControlError::Case;

/// The text of each case, before its detail.
constexpr EnumerationTable texts(
    &EnumerationText<Case>::value,
    {{Case::hardwareQueryFailed, "Microphone setup failed: "},
     {Case::noInputDevices, "No input microphones detected."},
     {Case::noControllableInputs, "Microphone mute control is unavailable on this Mac."},
     {Case::muteWriteFailed, "Microphone mute could not be applied."}});
}  // namespace

MicrophoneControlError::MicrophoneControlError(Case errorCase, std::string detail)
    : case_(errorCase),
      detail_(std::move(detail)),
      description_(std::string(texts[errorCase].text) + detail_) {}

MicrophoneControlError MicrophoneControlError::hardwareQueryFailed(std::string detail) {
  return MicrophoneControlError(Case::hardwareQueryFailed, std::move(detail));
}

MicrophoneControlError MicrophoneControlError::noInputDevices() {
  return MicrophoneControlError(Case::noInputDevices);
}

MicrophoneControlError MicrophoneControlError::noControllableInputs() {
  return MicrophoneControlError(Case::noControllableInputs);
}

MicrophoneControlError MicrophoneControlError::muteWriteFailed() {
  return MicrophoneControlError(Case::muteWriteFailed);
}

}  // namespace blindfold
