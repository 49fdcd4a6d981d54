#pragma once

#include <cstdint>

namespace blindfold {

/// What became of muting or unmuting the microphones, in numbers of devices.
struct MicrophoneMuteOutcome {
  std::int64_t totalInputDevices;  ///< How many input devices there are.
  std::int64_t updatedDevices;     ///< How many took the new state.
  std::int64_t failedDevices;      ///< How many refused it.

  bool operator==(const MicrophoneMuteOutcome&) const = default;
};

}  // namespace blindfold
