#include "blindfold/platform/helper_protocol.h"

#include <gtest/gtest.h>

namespace blindfold {
namespace {

TEST(HelperProtocolTest, EveryMethodStandsAtItsOwnPlaceInTheTable) {
  for (const auto& row : helperProtocol) EXPECT_EQ(&describe(row.method), &row);
}

TEST(HelperProtocolTest, AMethodIsFoundByItsExactSelector) {
  EXPECT_EQ(helperMethodWithSelector("hold:withReply:"), HelperMethod::hold);
  EXPECT_EQ(helperMethodWithSelector("hold"), std::nullopt);
  EXPECT_EQ(helperMethodWithSelector("Hold:withReply:"), std::nullopt);
}

}  // namespace
}  // namespace blindfold
