#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "blindfold/platform/macos/macos_platform.h"
#include "blindfold/platform/platform_error.h"
#include "events.h"

namespace blindfold {
namespace {
/// Answers that only the system itself gives.
TEST(SystemCodeSigningTest, ReadsTheSignatureOfAProgramOfTheSystem) {
  const auto information = SecurityCodeSigning().signingInformation(FileURL("/bin/ls"));
  ASSERT_TRUE(information.has_value());
  EXPECT_EQ(information->identifier, DictionaryValue("com.apple.ls"));
  EXPECT_EQ(information->teamIdentifier, std::nullopt);
}

TEST(SystemCodeSigningTest, HasNoInformationOfAFileThatIsNotThere) {
  EXPECT_EQ(SecurityCodeSigning().signingInformation(FileURL("/nonexistent")), std::nullopt);
}

TEST(SystemCodeSigningTest, ReadsItsOwnSignature) {
  EXPECT_TRUE(SecurityCodeSigning().ownSigningInformation().has_value());
}

TEST(SystemConnectionTest, AServiceThatNobodyServesFailsTheMessageOrTheConnection) {
  const auto events = std::make_shared<Events>();
  XPCHelperConnectionProvider provider;
  const auto connection = provider.makePrivilegedConnection("app.blindfold.nobody");
  connection->setInvalidationHandler([events] { events->add("invalidated"); });
  connection->setInterruptionHandler([events] { events->add("interrupted"); });
  connection->resume();
  const auto proxy = connection->remoteObjectProxy(
      [events](const PlatformError& error) { events->add(error.what()); });
  ASSERT_NE(proxy, nullptr);
  proxy->send({HelperMethod::currentState, NoArgument{}},
              [events](const Bytes& reply) { events->add("reply " + reply); });
  EXPECT_THAT(events->waitFor(1), testing::Not(testing::Contains(testing::StartsWith("reply "))));
  EXPECT_FALSE(events->soFar().empty());
}

TEST(SystemConnectionTest, MayBeDroppedBeforeItIsStarted) {
  XPCHelperConnectionProvider().makePrivilegedConnection("app.blindfold.nobody").reset();
}
}  // namespace
}  // namespace blindfold
