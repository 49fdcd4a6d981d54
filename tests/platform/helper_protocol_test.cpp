#include "blindfold/platform/helper_protocol.h"

#include <gtest/gtest.h>

#include "tests/support/ordinals.h"

namespace blindfold {
namespace {

TEST(HelperProtocolTest, HasItsMethodsInOrder) {
  expectOrdinals({HelperMethod::beginPresence, HelperMethod::installStatus,
                  HelperMethod::detectTargets, HelperMethod::hold, HelperMethod::renew,
                  HelperMethod::release, HelperMethod::restoreAll, HelperMethod::muteMic,
                  HelperMethod::unmuteMic, HelperMethod::currentState});
  EXPECT_EQ(helperProtocol.size(), 10U);
}

TEST(HelperProtocolTest, AMethodIsFoundByItsExactSelector) {
  EXPECT_EQ(helperMethodWithSelector("hold:withReply:"), HelperMethod::hold);
  EXPECT_EQ(helperMethodWithSelector("hold"), std::nullopt);
  EXPECT_EQ(helperMethodWithSelector("Hold:withReply:"), std::nullopt);
}

}  // namespace
}  // namespace blindfold
