#include "blindfold/helperclient/error_description.h"

namespace blindfold {

std::string errorDescription(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& failure) {
    return failure.what();
  } catch (...) {
    return "An unknown error occurred.";
  }
}

}  // namespace blindfold
