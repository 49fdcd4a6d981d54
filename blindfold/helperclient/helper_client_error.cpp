#include "blindfold/helperclient/helper_client_error.h"

#include <cassert>
#include <new>
#include <utility>

#include "blindfold/text/enumeration_table.h"

namespace blindfold {
namespace {
using Case = HelperClientError::Case;

/// The description of each case; that of `transport` is the underlying error's.
constexpr EnumerationTable descriptions(
    &EnumerationText<Case>::value,
    {{Case::transport, ""},
     {Case::helperNotInstalled, "Protection service is not set up."},
     {Case::helperUnreachable, "Protection service is unavailable."},
     {Case::unauthorizedClient,
      "This app copy is not authorized to control the installed protection service."},
     {Case::timeout, "Protection service took too long to respond."},
     {Case::invalidResponse, "Protection service returned an invalid response."}});
}  // namespace

std::string errorDescription(const std::exception_ptr& error) {
  assert(error != nullptr);
  try {
    std::rethrow_exception(error);
  } catch (const std::bad_alloc&) {
    return "Out of memory.";
  } catch (const std::exception& failure) {
    return failure.what();
  } catch (...) {
    return "An unknown error occurred.";
  }
}

HelperClientError::HelperClientError(Case errorCase, std::string description,
                                     std::exception_ptr underlying)
    : case_(errorCase), description_(std::move(description)), underlying_(std::move(underlying)) {}

HelperClientError::HelperClientError(Case plainCase)
    : HelperClientError(plainCase, std::string(descriptions[plainCase].text), nullptr) {
  assert(plainCase != Case::transport);
}

HelperClientError HelperClientError::transport(std::exception_ptr underlying) {
  assert(underlying != nullptr);
  std::string description = blindfold::errorDescription(underlying);
  return {Case::transport, std::move(description), std::move(underlying)};
}

}  // namespace blindfold
