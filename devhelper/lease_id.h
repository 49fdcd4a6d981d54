#pragma once

#include <string>

namespace blindfold {

/// A new lease identifier: a random UUID in upper case.
std::string makeLeaseID();

}  // namespace blindfold
