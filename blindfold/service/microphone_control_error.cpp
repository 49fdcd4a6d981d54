#include "blindfold/service/microphone_control_error.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace blindfold {
namespace {

// By case, in order; a case's detail follows its text.
constexpr std::array<std::string_view, 4> texts{
    "Microphone setup failed: ",
    "No input microphones detected.",
    "Microphone mute control is unavailable on this Mac.",
    "Microphone mute could not be applied.",
};

}  // namespace

MicrophoneControlError::MicrophoneControlError(Case errorCase, std::string detail)
    : case_(errorCase),
      detail_(std::move(detail)),
      description_(std::string(texts.at(static_cast<std::size_t>(errorCase))) + detail_) {}

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
