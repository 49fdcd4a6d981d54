#include "blindfold/helperclient/helper_client_error.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/ordinals.h"

namespace blindfold {
namespace {
using Case = HelperClientError::Case;

TEST(HelperClientErrorTest, HasItsCasesInOrder) {
  expectOrdinals({Case::transport, Case::helperNotInstalled, Case::helperUnreachable,
                  Case::unauthorizedClient, Case::timeout, Case::invalidResponse});
}

TEST(HelperClientErrorTest, EachPlainCaseHasItsText) {
  const auto text = [](Case plainCase) { return HelperClientError(plainCase).errorDescription(); };
  EXPECT_EQ(text(Case::helperNotInstalled), "Protection service is not set up.");
  EXPECT_EQ(text(Case::helperUnreachable), "Protection service is unavailable.");
  EXPECT_EQ(text(Case::unauthorizedClient),
            "This app copy is not authorized to control the installed protection service.");
  EXPECT_EQ(text(Case::timeout), "Protection service took too long to respond.");
  EXPECT_EQ(text(Case::invalidResponse), "Protection service returned an invalid response.");
}

TEST(HelperClientErrorTest, TransportSpeaksInTheUnderlyingErrorsOwnWords) {
  const auto error =
      HelperClientError::transport(std::make_exception_ptr(std::runtime_error("a\nb: 12%")));
  EXPECT_EQ(error.errorCase(), Case::transport);
  EXPECT_EQ(error.errorDescription(), "a\nb: 12%");
  EXPECT_STREQ(error.what(), "a\nb: 12%");
}

TEST(HelperClientErrorTest, TransportOfAnErrorWithoutWordsHasNone) {
  EXPECT_EQ(HelperClientError::transport(std::make_exception_ptr(std::runtime_error("")))
                .errorDescription(),
            "");
}

TEST(HelperClientErrorTest, TransportCarriesTheUnderlyingError) {
  const auto error =
      HelperClientError::transport(std::make_exception_ptr(std::out_of_range("far away")));
  EXPECT_THROW(std::rethrow_exception(error.underlyingError()), std::out_of_range);
}

TEST(HelperClientErrorTest, APlainCaseCarriesNoUnderlyingError) {
  EXPECT_EQ(HelperClientError(Case::timeout).underlyingError(), nullptr);
}

TEST(HelperClientErrorTest, MemoryThatRunsOutIsSaidInPlainWords) {
  EXPECT_EQ(errorDescription(std::make_exception_ptr(std::bad_alloc())), "Out of memory.");
}

TEST(HelperClientErrorTest, SomethingThrownThatIsNoErrorStillHasAText) {
  EXPECT_EQ(HelperClientError::transport(std::make_exception_ptr(7)).errorDescription(),
            "An unknown error occurred.");
}
}  // namespace
}  // namespace blindfold
