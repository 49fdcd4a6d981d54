#include "blindfold/service/helper_controlling.h"

namespace blindfold {

HelperControlling::~HelperControlling() = default;

}  // namespace blindfold
