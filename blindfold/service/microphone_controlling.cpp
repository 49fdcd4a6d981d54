#include "blindfold/service/microphone_controlling.h"

namespace blindfold {

MicrophoneControlling::~MicrophoneControlling() = default;

}  // namespace blindfold
