#pragma once

namespace blindfold {

/// A queue of the helper's, on which one piece of work runs at a time. Whoever shares one only
/// passes it on: how work gets there is the helper's.
class DispatchQueue {
 public:
  virtual ~DispatchQueue() = 0;
};

}  // namespace blindfold
