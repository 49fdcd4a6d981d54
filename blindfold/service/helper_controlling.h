#pragma once

namespace blindfold {

/// The capability to control what the helper controls. The helper adds what it requires of one.
class HelperControlling {
 public:
  virtual ~HelperControlling() = 0;
};

}  // namespace blindfold
