#include "blindfold/model/detection.h"

#include "blindfold/model/service_id.h"

namespace blindfold {

std::string TargetService::id() const {
  return serviceID(domain, label);
}

std::string LaunchdServiceState::id() const {
  return serviceID(domain, label);
}

}  // namespace blindfold
