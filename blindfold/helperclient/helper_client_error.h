#pragma once

#include <exception>
#include <string>

namespace blindfold {

/// The description of an error for people: its own `what()`, unchanged, or a general text when it
/// is no `std::exception`. `error` is not null.
std::string errorDescription(const std::exception_ptr& error);

/// Every failure of a request to the helper, as its caller sees it. A plain value; copying it
/// copies a reference to the underlying error.
class HelperClientError : public std::exception {
 public:
  enum class Case {
    transport,
    helperNotInstalled,
    helperUnreachable,
    unauthorizedClient,
    timeout,
    invalidResponse,
  };

  /// The failure that `underlying` (never null) caused; its description is that error's own.
  static HelperClientError transport(std::exception_ptr underlying);

  /// The failure of a case without payload: any but `transport`.
  explicit HelperClientError(Case plainCase);

  Case errorCase() const { return case_; }

  /// The text for the user: one of the table's, or the underlying error's own description,
  /// unchanged.
  const std::string& errorDescription() const { return description_; }

  /// The same text; see `errorDescription`.
  const char* what() const noexcept override { return description_.c_str(); }

  /// The error that `transport` carries; null in every other case.
  const std::exception_ptr& underlyingError() const { return underlying_; }

 private:
  HelperClientError(Case errorCase, std::string description, std::exception_ptr underlying);

  Case case_;
  std::string description_;
  std::exception_ptr underlying_;
};

}  // namespace blindfold
