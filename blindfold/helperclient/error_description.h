#pragma once

#include <exception>
#include <string>

namespace blindfold {

/// The error's description for the user: its own `what()`, unchanged, or a general text for
/// something thrown that is no `std::exception`. `error` is not null.
std::string errorDescription(const std::exception_ptr& error);

}  // namespace blindfold
