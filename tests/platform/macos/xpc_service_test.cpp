#include "devhelper/macos/xpc_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/json/json_decoder.h"
#include "client_over_xpc.h"
#include "devhelper/development_helper.h"

namespace blindfold {
namespace {
using testing::ElementsAre;

/// Conversations of the client with the development helper, both over XPC.
class XPCServiceTest : public ClientOverXPC {
 protected:
  /// Serves clients as the development helper with this script does.
  void serve(const std::string& script = "") {
    helper_.emplace(Options{}, Script(script, "script", Carrier::messages));
    service_.emplace("app.example.helper", platform_, [this](const HelperMessage& message) {
      selectors_.emplace_back(describe(message.method).selector);
      return helper_->answer(message);
    });
  }

  template <class T>
  T resultOf(Task<T> task) {
    const auto ending = startTask(mainLoop_, std::move(task));
    finish(*ending);
    EXPECT_TRUE(ending->value.has_value()) << describeFailure(*ending);
    return ending->value.value_or(T());
  }

  std::vector<std::string> selectors_;
  std::optional<DevelopmentHelper> helper_;
  std::optional<XPCService> service_;
};

TEST_F(XPCServiceTest, AnswersEveryOperationOfTheClient) {
  serve();
  EXPECT_EQ(resultOf(client_.currentState()).mode, "idle");
  const auto detected = JSONDecoder{}.decode<DetectionResult>(resultOf(client_.detectTargets(5)));
  HoldRequest request;
  request.cameraID = detected.selectedCameraID.value();
  request.kind = CameraKind::builtIn;
  request.targets = detected.resolvedTargets;
  request.durationHint = 30;
  EXPECT_TRUE(resultOf(client_.hold(std::move(request))).success);
  const HoldState held = resultOf(client_.currentState());
  ASSERT_TRUE(held.leaseID.has_value());
  EXPECT_TRUE(resultOf(client_.renew(*held.leaseID)).success);
  EXPECT_TRUE(resultOf(client_.release(std::nullopt)).success);
  EXPECT_TRUE(resultOf(client_.restoreAll()).success);
  EXPECT_TRUE(resultOf(client_.muteMicrophones()).success);
  EXPECT_TRUE(resultOf(client_.unmuteMicrophones()).success);
  EXPECT_THAT(selectors_, ElementsAre("currentState:", "detectTargets:", "hold:withReply:",
                                      "currentState:", "renew:withReply:", "release:withReply:",
                                      "restoreAll:", "muteMic:", "unmuteMic:"));
}

TEST_F(XPCServiceTest, AnswersByItsScript) {
  serve("currentState: reply {\"heldTargets\":[],\"micMuted\":true,\"mode\":\"scripted\"}\n");
  EXPECT_EQ(resultOf(client_.currentState()).mode, "scripted");
}

TEST_F(XPCServiceTest, AnswersLaterWhenItsScriptSaysSo) {
  serve("muteMic: delay 0.05 reply {\"message\":\"late\",\"success\":true}\n");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(resultOf(client_.muteMicrophones()).message, "late");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(XPCServiceTest, KeepsASilentMessageUnansweredUntilItsClientGivesUp) {
  serve("detectTargets: silent\n");
  EXPECT_EQ(failureOf(client_.detectTargets(0.2)), "Protection service took too long to respond.");
}

TEST_F(XPCServiceTest, ClosesTheConnectionWhenItsScriptSaysSo) {
  serve("currentState: close\n");
  const std::string failure = failureOf(client_.currentState());
  EXPECT_THAT(failure, testing::AnyOf("Couldn\u2019t communicate with a helper application.",
                                      "Protection service is unavailable."));
}

TEST_F(XPCServiceTest, ServesSeveralClientsAtATime) {
  serve();
  std::vector<std::shared_ptr<TaskEnding<HoldState>>> endings;
  for (int i = 0; i < 32; ++i) endings.push_back(startTask(mainLoop_, client_.currentState()));
  for (const auto& ending : endings) finish(*ending);
  for (const auto& ending : endings) EXPECT_TRUE(ending->value.has_value());
}

TEST_F(XPCServiceTest, ReportsThatThePlatformRefuses) {
  InProcessService::shared().raise("NSXPCListener initWithMachServiceName:", "not allowed");
  EXPECT_THROW(serve(), PlatformError);
}

/// The protocol's methods that the client does not send, and arguments that it never gives.
TEST_F(XPCServiceTest, AnswersEveryMethodOfTheProtocol) {
  serve();
  for (const auto& row : helperProtocol) {
    MessageArgument argument = NoArgument{};
    if (row.argument == ArgumentKind::data) argument = DataArgument{"not JSON"};
    if (row.argument == ArgumentKind::text) argument = TextArgument{"no such lease"};
    const auto connection = connections_.makePrivilegedConnection("app.example.helper");
    Events events;
    connection->resume();
    const auto proxy = connection->remoteObjectProxy(
        [&](const PlatformError& error) { events.add(error.what()); });
    proxy->send({row.method, argument}, [&](const Bytes& reply) { events.add(reply); });
    EXPECT_TRUE(comesTrue([&] {
      mainLoop_.runUntilIdle();
      return !events.soFar().empty();
    }));
    EXPECT_THAT(events.soFar(), ElementsAre(testing::StartsWith("{"))) << row.selector;
    connection->invalidate();
  }
}
}  // namespace
}  // namespace blindfold
