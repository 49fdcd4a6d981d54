#pragma once

#include <string_view>

namespace blindfold {

/// The information property list that the build linked into this program
/// (cmake/BlindfoldDeployment.cmake), byte for byte; empty when it linked none.
std::string_view linkedPropertyList();

}  // namespace blindfold
