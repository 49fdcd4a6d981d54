#pragma once

#include <string>
#include <string_view>

#include "blindfold/model/enumerations.h"

namespace blindfold {

/// How a launchd service is told apart from others: "system:com.example.label". Nothing is escaped.
std::string serviceID(ServiceDomain domain, std::string_view label);

}  // namespace blindfold
