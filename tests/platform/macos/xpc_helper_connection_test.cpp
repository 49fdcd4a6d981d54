#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "blindfold/platform/macos/macos_platform.h"
#include "blindfold/platform/platform_error.h"
#include "events.h"
#include "in_process_service.h"

namespace blindfold {
namespace {
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// The description of the `PlatformError` that `call` throws, or a text that says that it does not.
template <class Call>
std::string errorOf(const Call& call) {
  try {
    call();
  } catch (const PlatformError& error) {
    return error.what();
  }
  return "nothing thrown";
}

class XPCHelperConnectionTest : public testing::Test {
 protected:
  void SetUp() override { InProcessService::shared().reset(); }

  /// No test leaves a connection behind.
  void TearDown() override {
    EXPECT_TRUE(comesTrue([] { return InProcessService::liveConnections() == 0; }));
  }

  std::shared_ptr<HelperConnection> make() {
    return provider_.makePrivilegedConnection("app.example.service");
  }

  /// A connection whose handlers report to `events`, taken as far as `resume`.
  std::shared_ptr<HelperConnection> open() {
    auto connection = make();
    connection->setInvalidationHandler([events = events_] { events->add("invalidated"); });
    connection->setInterruptionHandler([events = events_] { events->add("interrupted"); });
    connection->resume();
    return connection;
  }

  std::unique_ptr<HelperProxy> proxyOf(HelperConnection& connection) {
    return connection.remoteObjectProxy(
        [events = events_](const PlatformError& error) { events->add(error.what()); });
  }

  ReplyHandler reply() {
    return [events = events_](const Bytes& bytes) { events->add("reply " + bytes); };
  }

  /// Keeps the next reply instead of giving it.
  void holdReply() {
    InProcessService::shared().setAnswer(
        [this](const HelperMessage&, const InProcessService::Reply& reply) {
          heldReply_ = reply;
          events_->add("asked");
        });
  }

  XPCHelperConnectionProvider provider_;
  std::shared_ptr<Events> events_ = std::make_shared<Events>();
  InProcessService::Reply heldReply_;
};

TEST_F(XPCHelperConnectionTest, OpensTheNamedServiceOfTheSystemDomain) {
  const auto connection = open();
  EXPECT_EQ(InProcessService::lastConnection().name, "app.example.service");
  EXPECT_EQ(InProcessService::lastConnection().options, 4096U);
}

TEST_F(XPCHelperConnectionTest, SpeaksTheHelpersProtocol) {
  const auto connection = open();
  EXPECT_EQ(InProcessService::lastConnection().protocol, "BlindfoldXPCProtocol");
}

TEST_F(XPCHelperConnectionTest, IsStartedByResumeOnly) {
  const auto connection = make();
  EXPECT_FALSE(InProcessService::lastConnection().resumed);
  connection->resume();
  EXPECT_TRUE(InProcessService::lastConnection().resumed);
}

TEST_F(XPCHelperConnectionTest, MayBeDroppedBeforeItIsStarted) {
  make().reset();
  EXPECT_TRUE(comesTrue([] { return InProcessService::liveConnections() == 0; }));
}

TEST_F(XPCHelperConnectionTest, MayBeInvalidatedAndDroppedBeforeItIsStarted) {
  const auto connection = make();
  connection->setInvalidationHandler([events = events_] { events->add("invalidated"); });
  connection->invalidate();
  EXPECT_THAT(events_->waitFor(1), ElementsAre("invalidated"));
}

TEST_F(XPCHelperConnectionTest, GivesTheReplysBytes) {
  InProcessService::shared().setAnswer(
      [](const HelperMessage&, const InProcessService::Reply& reply) {
        reply(Bytes("\0\xff{}\n", 5));
      });
  const auto connection = open();
  proxyOf(*connection)->send({HelperMethod::currentState, NoArgument{}}, reply());
  EXPECT_THAT(events_->waitFor(1), ElementsAre("reply " + Bytes("\0\xff{}\n", 5)));
}

TEST_F(XPCHelperConnectionTest, TakesAReplyWithoutDataForNoBytes) {
  InProcessService::shared().setAnswer(
      [](const HelperMessage&, const InProcessService::Reply& reply) { reply(std::nullopt); });
  const auto connection = open();
  proxyOf(*connection)->send({HelperMethod::currentState, NoArgument{}}, reply());
  EXPECT_THAT(events_->waitFor(1), ElementsAre("reply "));
}

TEST_F(XPCHelperConnectionTest, DoesNotReplyInsideTheCall) {
  holdReply();
  const auto connection = open();
  proxyOf(*connection)->send({HelperMethod::currentState, NoArgument{}}, reply());
  EXPECT_THAT(events_->waitFor(1), ElementsAre("asked"));
  heldReply_("late");
  EXPECT_THAT(events_->waitFor(2), ElementsAre("asked", "reply late"));
}

TEST_F(XPCHelperConnectionTest, TellsTheProxysErrorInThePlatformsOwnWords) {
  holdReply();
  const auto connection = open();
  proxyOf(*connection)->send({HelperMethod::currentState, NoArgument{}}, reply());
  EXPECT_THAT(events_->waitFor(1), ElementsAre("asked"));
  InProcessService::failProxies("  Couldn\u2019t reach \u00e9\U0001f600\na helper. ");
  EXPECT_THAT(events_->waitFor(2),
              ElementsAre("asked", "  Couldn\u2019t reach \u00e9\U0001f600\na helper. "));
}

TEST_F(XPCHelperConnectionTest, TellsOfAnInterruptionEveryTime) {
  const auto connection = open();
  InProcessService::interrupt();
  events_->waitFor(1);
  InProcessService::interrupt();
  EXPECT_THAT(events_->waitFor(2), ElementsAre("interrupted", "interrupted"));
}

TEST_F(XPCHelperConnectionTest, TellsOfItsInvalidationAfterTheCall) {
  const auto connection = open();
  connection->invalidate();
  EXPECT_THAT(events_->waitFor(1), ElementsAre("invalidated"));
}

TEST_F(XPCHelperConnectionTest, IsNotInvalidatedTwice) {
  const auto connection = open();
  connection->invalidate();
  events_->waitFor(1);
  connection->invalidate();
  InProcessService::endFromOutside(8);
  EXPECT_TRUE(comesTrue([] { return InProcessService::lastConnection().invalidated; }));
  EXPECT_THAT(events_->waitFor(1), ElementsAre("invalidated"));
}

TEST_F(XPCHelperConnectionTest, TellsOfAnEndFromOutsideOnceHoweverManyThreadsCall) {
  const auto connection = open();
  InProcessService::endFromOutside(64);
  events_->waitFor(1);
  connection->invalidate();
  EXPECT_TRUE(comesTrue([] { return InProcessService::lastConnection().invalidated; }));
  EXPECT_THAT(events_->soFar(), ElementsAre("invalidated"));
}

TEST_F(XPCHelperConnectionTest, CallsHandlersOnSeveralThreadsAtOnce) {
  const auto connection = open();
  const auto proxy = proxyOf(*connection);
  proxy->send({HelperMethod::currentState, NoArgument{}}, reply());
  InProcessService::interrupt(100);
  InProcessService::failProxies("failed", 100);
  EXPECT_THAT(events_->waitFor(201), SizeIs(201));
  connection->invalidate();
  EXPECT_EQ(events_->waitFor(202).back(), "invalidated");
}

TEST_F(XPCHelperConnectionTest, PassesOnAReplyThatComesAfterTheInvalidation) {
  holdReply();
  const auto connection = open();
  proxyOf(*connection)->send({HelperMethod::currentState, NoArgument{}}, reply());
  events_->waitFor(1);
  connection->invalidate();
  events_->waitFor(2);
  heldReply_("late");
  EXPECT_THAT(events_->waitFor(3), ElementsAre("asked", "invalidated", "reply late"));
}

TEST_F(XPCHelperConnectionTest, HasNoProxyWhenThePlatformsDoesNotConform) {
  InProcessService::shared().setProxyKind(ProxyKind::notConforming);
  const auto connection = open();
  EXPECT_EQ(proxyOf(*connection), nullptr);
}

TEST_F(XPCHelperConnectionTest, HasNoProxyWhenThePlatformHasNone) {
  InProcessService::shared().setProxyKind(ProxyKind::none);
  const auto connection = open();
  EXPECT_EQ(proxyOf(*connection), nullptr);
}

TEST_F(XPCHelperConnectionTest, RefusesATextThatIsNotUTF8) {
  const auto connection = open();
  const auto proxy = proxyOf(*connection);
  EXPECT_EQ(errorOf([&] { proxy->send({HelperMethod::renew, TextArgument{"\xff"}}, reply()); }),
            "The message's text is not valid UTF-8.");
}

TEST_F(XPCHelperConnectionTest, LetsGoOfItsHandlersOnceItIsInvalid) {
  const auto connection = open();
  connection->invalidate();
  // This function's, and nobody else's.
  EXPECT_TRUE(comesTrue([&] { return events_.use_count() == 1; }));
}

TEST_F(XPCHelperConnectionTest, LetsGoOfHandlersThatHoldTheConnectionItself) {
  std::weak_ptr<HelperConnection> observed;
  {
    const auto connection = make();
    observed = connection;
    connection->setInvalidationHandler([connection] {});
    connection->setInterruptionHandler([connection] {});
    connection->resume();
    connection->invalidate();
  }
  EXPECT_TRUE(comesTrue([&] { return observed.expired(); }));
}

TEST_F(XPCHelperConnectionTest, DropsItsHandlersUncalledWhenItIsDestroyed) {
  auto connection = open();
  connection.reset();
  EXPECT_TRUE(comesTrue([&] { return events_.use_count() == 1; }));
  EXPECT_TRUE(comesTrue([] { return InProcessService::liveConnections() == 0; }));
  EXPECT_THAT(events_->soFar(), IsEmpty());
}

TEST_F(XPCHelperConnectionTest, EndsThePlatformsConnectionWhenItIsDestroyed) {
  open().reset();
  EXPECT_TRUE(comesTrue([] { return InProcessService::liveConnections() == 0; }));
}

TEST_F(XPCHelperConnectionTest, LeavesTheConnectionToAProxyThatOutlivesIt) {
  auto connection = open();
  const auto proxy = proxyOf(*connection);
  connection.reset();
  EXPECT_EQ(InProcessService::liveConnections(), 1);
}

TEST_F(XPCHelperConnectionTest, InvalidateNeverThrows) {
  const auto connection = open();
  InProcessService::shared().raise("invalidate", "no");
  connection->invalidate();
  EXPECT_FALSE(InProcessService::lastConnection().invalidated);
}

/// A platform that raises an exception in one of its methods, the exception's reason.
class RaisingConnectionTest : public XPCHelperConnectionTest,
                              public testing::WithParamInterface<const char*> {
 protected:
  /// A whole request, up to the message.
  void request() {
    const auto connection = open();
    proxyOf(*connection)->send({HelperMethod::hold, DataArgument{"{}"}}, reply());
  }
};

TEST_P(RaisingConnectionTest, BecomesAPlatformErrorWithItsReason) {
  InProcessService::shared().raise(GetParam(), "out of \u00e9\u00e8");
  EXPECT_EQ(errorOf([&] { request(); }), "out of \u00e9\u00e8");
}

TEST_P(RaisingConnectionTest, LeavesNothingBehind) {
  InProcessService::shared().raise(GetParam(), "no");
  errorOf([&] { request(); });
  EXPECT_TRUE(comesTrue([&] { return events_.use_count() == 1; }));
}

INSTANTIATE_TEST_SUITE_P(
    EveryMethod, RaisingConnectionTest,
    testing::Values("initWithMachServiceName:options:", "setRemoteObjectInterface:",
                    "setInvalidationHandler:", "setInterruptionHandler:", "resume",
                    "remoteObjectProxyWithErrorHandler:", "hold:withReply:"),
    [](const auto& test) { return std::string(test.param, std::strcspn(test.param, ":")); });

struct SentMessage {
  const char* name;
  HelperMessage message;

  friend void PrintTo(const SentMessage& sent, std::ostream* stream) { *stream << sent.name; }
};

/// Every method, with every kind of argument that it may have.
class SentMessageTest : public XPCHelperConnectionTest,
                        public testing::WithParamInterface<SentMessage> {};

TEST_P(SentMessageTest, ReachesTheHelperAsItIs) {
  const auto connection = open();
  proxyOf(*connection)->send(GetParam().message, reply());
  EXPECT_THAT(events_->waitFor(1), ElementsAre("reply {}"));
  EXPECT_THAT(InProcessService::shared().received(), ElementsAre(GetParam().message));
}

const SentMessage sentMessages[] = {
    {"beginPresence", {HelperMethod::beginPresence, NoArgument{}}},
    {"installStatus", {HelperMethod::installStatus, NoArgument{}}},
    {"detectTargets", {HelperMethod::detectTargets, NoArgument{}}},
    {"holdWithJSON", {HelperMethod::hold, DataArgument{"{\"a\":1}"}}},
    {"holdWithNoBytes", {HelperMethod::hold, DataArgument{""}}},
    {"holdWithAnyBytes", {HelperMethod::hold, DataArgument{Bytes("\0\xfe", 2)}}},
    {"renew", {HelperMethod::renew, TextArgument{"lease"}}},
    {"renewWithEmptyText", {HelperMethod::renew, TextArgument{""}}},
    {"renewWithAnyText", {HelperMethod::renew, TextArgument{"\u00e9\U0001f600"}}},
    {"renewWithANUL", {HelperMethod::renew, TextArgument{std::string("a\0b", 3)}}},
    {"release", {HelperMethod::release, TextArgument{"lease"}}},
    {"releaseWithoutText", {HelperMethod::release, TextArgument{std::nullopt}}},
    {"restoreAll", {HelperMethod::restoreAll, NoArgument{}}},
    {"muteMic", {HelperMethod::muteMic, NoArgument{}}},
    {"unmuteMic", {HelperMethod::unmuteMic, NoArgument{}}},
    {"currentState", {HelperMethod::currentState, NoArgument{}}},
};

INSTANTIATE_TEST_SUITE_P(EveryMethod, SentMessageTest, testing::ValuesIn(sentMessages),
                         [](const auto& test) { return test.param.name; });
}  // namespace
}  // namespace blindfold
