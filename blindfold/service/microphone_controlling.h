#pragma once

namespace blindfold {

/// The capability to mute the microphones. The helper adds what it requires of one.
class MicrophoneControlling {
 public:
  virtual ~MicrophoneControlling() = 0;
};

}  // namespace blindfold
