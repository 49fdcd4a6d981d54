#include "blindfold/model/hold.h"

#include "blindfold/model/service_id.h"

namespace blindfold {

std::string HeldTarget::id() const {
  return serviceID(domain, label) + ":" + std::to_string(pid.value_or(-1));
}

}  // namespace blindfold
