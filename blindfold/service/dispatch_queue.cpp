#include "blindfold/service/dispatch_queue.h"

namespace blindfold {

DispatchQueue::~DispatchQueue() = default;

}  // namespace blindfold
