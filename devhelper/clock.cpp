#include "devhelper/clock.h"

namespace blindfold {

Moment currentMoment() {
  using std::chrono::floor;
  return {floor<std::chrono::microseconds>(std::chrono::system_clock::now()),
          std::chrono::steady_clock::now().time_since_epoch()};
}

}  // namespace blindfold
