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

TEST(HelperProtocolTest, AnArgumentHasOneOfFourForms) {
  expectOrdinals(
      {ArgumentForm::none, ArgumentForm::data, ArgumentForm::text, ArgumentForm::absent});
  EXPECT_EQ(formOf(NoArgument{}), ArgumentForm::none);
  EXPECT_EQ(formOf(DataArgument{""}), ArgumentForm::data);
  EXPECT_EQ(formOf(TextArgument{""}), ArgumentForm::text);
  EXPECT_EQ(formOf(TextArgument{std::nullopt}), ArgumentForm::absent);
}

TEST(HelperProtocolTest, AnArgumentsBytesAreThoseOfItsDataOrText) {
  const MessageArgument data = DataArgument{Bytes("\0\xff", 2)};
  const MessageArgument text = TextArgument{"lease"};
  EXPECT_EQ(bytesOf(data), std::string_view("\0\xff", 2));
  EXPECT_EQ(bytesOf(text), "lease");
  EXPECT_EQ(bytesOf(NoArgument{}), "");
  EXPECT_EQ(bytesOf(TextArgument{std::nullopt}), "");
}

TEST(HelperProtocolTest, AMethodIsFoundByItsExactSelector) {
  EXPECT_EQ(helperMethodWithSelector("hold:withReply:"), HelperMethod::hold);
  EXPECT_EQ(helperMethodWithSelector("hold"), std::nullopt);
  EXPECT_EQ(helperMethodWithSelector("Hold:withReply:"), std::nullopt);
}
}  // namespace
}  // namespace blindfold
