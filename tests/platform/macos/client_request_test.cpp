#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "client_over_xpc.h"
#include "dispatch_stand_in.h"

namespace blindfold {
namespace {
const Bytes idleState = R"({"heldTargets":[],"micMuted":false,"mode":"idle"})";

class ClientRequestTest : public ClientOverXPC {
 protected:
  ClientRequestTest() { answerWith(idleState); }

  void TearDown() override {
    heldReply_ = nullptr;
    ClientOverXPC::TearDown();
  }

  static void answerWith(const std::optional<Bytes>& bytes) {
    InProcessService::shared().setAnswer(
        [bytes](const HelperMessage&, const InProcessService::Reply& reply) { reply(bytes); });
  }

  /// Keeps the reply instead of giving it.
  void staySilent() {
    InProcessService::shared().setAnswer(
        [this](const HelperMessage&, const InProcessService::Reply& reply) {
          heldReply_ = reply;
          events_.add("asked");
        });
  }

  /// Starts a request that the helper receives and does not answer.
  std::shared_ptr<TaskEnding<Bytes>> askASilentHelper(double timeLimit) {
    staySilent();
    auto ending = startTask(mainLoop_, client_.detectTargets(timeLimit));
    mainLoop_.runUntilIdle();
    events_.waitFor(1);
    return ending;
  }

  Events events_;
  InProcessService::Reply heldReply_;
};

TEST_F(ClientRequestTest, AReplyBecomesTheRecord) {
  const auto ending = startTask(mainLoop_, client_.currentState());
  finish(*ending);
  ASSERT_TRUE(ending->value.has_value()) << describeFailure(*ending);
  EXPECT_FALSE(ending->value->micMuted);
}

TEST_F(ClientRequestTest, TheServiceIsTheOneOfTheInfoDictionary) {
  const auto ending = askASilentHelper(60);
  EXPECT_EQ(InProcessService::lastConnection().name, "app.example.helper");
  heldReply_("{}");
  finish(*ending);
}

TEST_F(ClientRequestTest, AProxyErrorIsToldInThePlatformsWords) {
  const auto ending = askASilentHelper(60);
  InProcessService::failProxies("Couldn\u2019t communicate with a helper application.");
  finish(*ending);
  EXPECT_EQ(describeFailure(*ending), "Couldn\u2019t communicate with a helper application.");
}

TEST_F(ClientRequestTest, AnInterruptionMakesTheHelperUnreachable) {
  const auto ending = askASilentHelper(60);
  InProcessService::interrupt();
  finish(*ending);
  EXPECT_EQ(describeFailure(*ending), "Protection service is unavailable.");
}

TEST_F(ClientRequestTest, AnInvalidationMakesTheHelperUnreachable) {
  const auto ending = askASilentHelper(60);
  InProcessService::endFromOutside();
  finish(*ending);
  EXPECT_EQ(describeFailure(*ending), "Protection service is unavailable.");
}

TEST_F(ClientRequestTest, ASilentHelperRunsIntoTheTimeLimit) {
  const auto ending = askASilentHelper(0.02);
  finish(*ending);
  EXPECT_EQ(describeFailure(*ending), "Protection service took too long to respond.");
}

TEST_F(ClientRequestTest, TheTimeLimitRunsFromNowOnTheUtilityQueue) {
  const auto ending = askASilentHelper(0.25);
  EXPECT_EQ(DispatchStandIn::lastTime(), (DispatchStandIn::Time{.base = 0, .delta = 250'000'000}));
  EXPECT_EQ(DispatchStandIn::lastQueue(), (DispatchStandIn::Queue{.identifier = 0x11, .flags = 0}));
  heldReply_("{}");
  finish(*ending);
}

TEST_F(ClientRequestTest, AReplyAfterTheTimeLimitIsDropped) {
  const auto ending = askASilentHelper(0.02);
  finish(*ending);
  std::exchange(heldReply_, nullptr)("{}");
  EXPECT_TRUE(comesTrue([] { return InProcessService::liveConnections() == 0; }));
  mainLoop_.runUntilIdle();
  EXPECT_EQ(ending->count, 1);
  EXPECT_EQ(describeFailure(*ending), "Protection service took too long to respond.");
}

TEST_F(ClientRequestTest, EveryHandlerAtOnceEndsTheRequestOnce) {
  const auto ending = askASilentHelper(0.001);
  InProcessService::interrupt(4);
  InProcessService::failProxies("failed", 4);
  InProcessService::endFromOutside(4);
  std::exchange(heldReply_, nullptr)("{}");
  finish(*ending);
  EXPECT_TRUE(comesTrue([] { return InProcessService::liveConnections() == 0; }));
  mainLoop_.runUntilIdle();
  EXPECT_EQ(ending->count, 1);
}

TEST_F(ClientRequestTest, AProxyThatDoesNotConformIsAnInvalidResponse) {
  InProcessService::shared().setProxyKind(ProxyKind::notConforming);
  EXPECT_EQ(failureOf(client_.currentState()), "Protection service returned an invalid response.");
}

TEST_F(ClientRequestTest, AReplyWithoutDataFailsToDecode) {
  answerWith(std::nullopt);
  const std::string nil = failureOf(client_.currentState());
  answerWith("");
  EXPECT_EQ(nil, failureOf(client_.currentState()));
  EXPECT_NE(nil, "no failure");
}

TEST_F(ClientRequestTest, AnExceptionFromResumeIsTheTransportsError) {
  InProcessService::shared().raise("resume", "the connection is over");
  EXPECT_EQ(failureOf(client_.currentState()), "the connection is over");
}

TEST_F(ClientRequestTest, AMissingHelperIsNotAskedFor) {
  std::filesystem::remove(directory_.path() + "/helper");
  EXPECT_EQ(failureOf(client_.currentState()), "Protection service is not set up.");
}

TEST_F(ClientRequestTest, ThePrecheckReadsTheSignaturesAndRefuses) {
  HelperClient careful(
      std::make_shared<const HelperClientState>(/*skipPrecheck=*/false, platform_, settings_));
  EXPECT_EQ(failureOf(careful.currentState()),
            "This app copy is not authorized to control the installed protection service.");
  EXPECT_EQ(SecurityStandIn::shared().staticCodePath, directory_.path() + "/helper");
  EXPECT_EQ(SecurityStandIn::liveObjects(), 0);
}

TEST_F(ClientRequestTest, ManyRequestsMayBeUnderWay) {
  std::vector<std::shared_ptr<TaskEnding<HoldState>>> endings;
  for (int i = 0; i < 64; ++i) endings.push_back(startTask(mainLoop_, client_.currentState()));
  for (const auto& ending : endings) finish(*ending);
  for (const auto& ending : endings) EXPECT_TRUE(ending->value.has_value());
}
}  // namespace
}  // namespace blindfold
