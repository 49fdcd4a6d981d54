#include "blindfold/model/service_id.h"

namespace blindfold {

std::string serviceID(ServiceDomain domain, std::string_view label) {
  std::string id(rawValue(domain));
  id += ':';
  id += label;
  return id;
}

}  // namespace blindfold
