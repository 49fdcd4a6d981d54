#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/request.h"
#include "blindfold/platform/macos/macos_platform.h"
#include "dispatch_stand_in.h"
#include "events.h"
#include "in_process_service.h"
#include "security_stand_in.h"
#include "tests/support/fake_main_loop.h"
#include "tests/support/program.h"
#include "tests/support/task_ending.h"

namespace blindfold {
namespace {

const Bytes idleState = R"({"heldTargets":[],"micMuted":false,"mode":"idle"})";

/// The client's whole requests over the macOS adapters.
class ClientRequestTest : public testing::Test {
 protected:
  ClientRequestTest() {
    InProcessService::shared().reset();
    SecurityStandIn::shared().reset();
    answerWith(idleState);
  }

  /// No test leaves a connection behind.
  ~ClientRequestTest() override {
    heldReply_ = nullptr;
    EXPECT_TRUE(comesTrue([&] {
      mainLoop_.runUntilIdle();
      return InProcessService::liveConnections() == 0;
    }));
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

  /// Turns the main loop until the task has ended.
  template <typename T>
  void finish(const TaskEnding<T>& ending) {
    EXPECT_TRUE(comesTrue([&] {
      mainLoop_.runUntilIdle();
      return ending.count > 0;
    }));
  }

  /// Starts a request that the helper receives and does not answer.
  std::shared_ptr<TaskEnding<Bytes>> askASilentHelper(double timeLimit) {
    staySilent();
    auto ending = startTask(mainLoop_, client_.detectTargets(timeLimit));
    mainLoop_.runUntilIdle();
    events_.waitFor(1);
    return ending;
  }

  std::string failureOf(Task<HoldState> task) {
    const auto ending = startTask(mainLoop_, std::move(task));
    finish(*ending);
    return describeFailure(*ending);
  }

  /// A bundle that says that the helper is installed where there is a file that may be executed.
  std::unique_ptr<Bundle> makeBundle() const {
    const std::string contents = directory_.path() + "/Tool.app/Contents";
    std::filesystem::create_directories(contents);
    std::filesystem::create_symlink("Contents", directory_.path() + "/Tool.app/Resources");
    const std::string helper = directory_.path() + "/helper";
    std::ofstream(helper) << "#!/bin/sh\n";
    std::filesystem::permissions(helper, std::filesystem::perms::owner_all);
    std::ofstream(contents + "/Info.plist")
        << "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
        << "<key>BlindfoldHelperInstallPath</key><string> " << helper << "\n</string>"
        << "<key>BlindfoldHelperLaunchdLabel</key><string>app.example.helper</string>"
        << "</dict></plist>";
    return bundles_.bundleWithURL(FileURL(directory_.path() + "/Tool.app"));
  }

  const TemporaryDirectory directory_;
  FoundationFileManager fileManager_;
  FoundationBundleProvider bundles_;
  SecurityCodeSigning codeSigning_;
  XPCHelperConnectionProvider connections_;
  DispatchTimedWorkQueue timedWork_;
  FakeMainLoop mainLoop_;
  const Platform platform_{fileManager_, bundles_,  codeSigning_,
                           connections_, mainLoop_, timedWork_};
  const std::unique_ptr<Bundle> bundle_ = makeBundle();
  const DeploymentSettings settings_{*bundle_, fileManager_};
  HelperClient client_{
      std::make_shared<const HelperClientState>(/*skipPrecheck=*/true, platform_, settings_)};
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
