#pragma once

namespace blindfold {

/// The capability to control what the helper controls. The helper adds its requirements.
class HelperControlling {
 public:
  virtual ~HelperControlling() = 0;
};

/// The capability to mute the microphones. The helper adds its requirements.
class MicrophoneControlling {
 public:
  virtual ~MicrophoneControlling() = 0;
};

/// A queue of the helper's, on which one piece of work runs at a time. Its users only pass it on:
/// how work gets there is the helper's.
class DispatchQueue {
 public:
  virtual ~DispatchQueue() = 0;
};

inline HelperControlling::~HelperControlling() = default;
inline MicrophoneControlling::~MicrophoneControlling() = default;
inline DispatchQueue::~DispatchQueue() = default;

}  // namespace blindfold
