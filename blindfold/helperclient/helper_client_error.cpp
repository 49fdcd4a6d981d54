#include "blindfold/helperclient/helper_client_error.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string_view>
#include <utility>

namespace blindfold {
namespace {

struct PlainCase {
  HelperClientError::Case errorCase;
  std::string_view description;
};

using Case = HelperClientError::Case;

constexpr std::array plainCases{
    PlainCase{Case::helperNotInstalled, "Protection service is not set up."},
    PlainCase{Case::helperUnreachable, "Protection service is unavailable."},
    PlainCase{Case::unauthorizedClient,
              "This app copy is not authorized to control the installed protection service."},
    PlainCase{Case::timeout, "Protection service took too long to respond."},
    PlainCase{Case::invalidResponse, "Protection service returned an invalid response."},
};

std::string describePlainCase(Case errorCase) {
  const auto* row = std::find_if(plainCases.begin(), plainCases.end(),
                                 [&](const auto& each) { return each.errorCase == errorCase; });
  assert(row != plainCases.end());
  return std::string(row->description);
}

}  // namespace

std::string errorDescription(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
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
    : HelperClientError(plainCase, describePlainCase(plainCase), nullptr) {}

HelperClientError HelperClientError::transport(std::exception_ptr underlying) {
  std::string description = blindfold::errorDescription(underlying);
  return {Case::transport, std::move(description), std::move(underlying)};
}

}  // namespace blindfold
