// The operations: their messages, time limits and replies.

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_encoder.h"
#include "tests/helperclient/helper_client_test.h"

namespace blindfold {
namespace {
using Case = HelperClientError::Case;

HoldRequest someHoldRequest() {
  return {"CAM-0001", CameraKind::builtIn, {}, true, 30.0, {{"a", 1}}};
}

TEST_F(HelperClientTest, CurrentStateIsAStatusRequestAnsweredByAHoldState) {
  const auto ending = start(client_.currentState());
  EXPECT_EQ(connection().message(), (HelperMessage{HelperMethod::currentState, NoArgument{}}));
  connection().reply(idleState);
  fake_.mainLoop.runUntilIdle();
  ASSERT_TRUE(ending->value) << describeFailure(*ending);
  EXPECT_EQ(ending->value->mode, "idle");
}

TEST_F(HelperClientTest, DetectTargetsHandsOutTheReplysBytesUndecoded) {
  const auto ending = start(client_.detectTargets(5.0));
  EXPECT_EQ(connection().message(), (HelperMessage{HelperMethod::detectTargets, NoArgument{}}));
  connection().reply(Bytes("not\0JSON", 8));
  fake_.mainLoop.runUntilIdle();
  EXPECT_EQ(ending->value, Bytes("not\0JSON", 8));
}

TEST_F(HelperClientTest, DetectTargetsTakesTheCallersTimeLimit) {
  start(client_.detectTargets(2.5));
  EXPECT_EQ(fake_.log.calls().at(4), "schedule the time limit in 2.5 s");
}

TEST_F(HelperClientTest, ATimeLimitThatIsNoPositiveNumberIsNoDelay) {
  for (const double limit : {0.0, -1.0, -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()}) {
    fake_.log.clear();
    start(client_.detectTargets(limit));
    EXPECT_EQ(fake_.log.calls().at(4), "schedule the time limit in 0 s") << limit;
  }
}

TEST_F(HelperClientTest, ATimeLimitWithoutEndIsTheLongestDelay) {
  for (const double limit : {1e10, 1e300, std::numeric_limits<double>::infinity()}) {
    fake_.log.clear();
    start(client_.detectTargets(limit));
    EXPECT_EQ(fake_.log.calls().at(4), "schedule the time limit in 3.16224e+07 s") << limit;
  }
}

TEST_F(HelperClientTest, HoldSendsTheEncodedRequestAsData) {
  start(client_.hold(someHoldRequest()));
  EXPECT_EQ(connection().message(),
            (HelperMessage{HelperMethod::hold,
                           DataArgument{makeJSONEncoder().encode(someHoldRequest())}}));
}

TEST_F(HelperClientTest, EveryArgumentMayBeMadeInTheExpressionThatAwaitsTheOperation) {
  fake_.connections.prepare = [this](FakeHelperConnection& connection) {
    fake_.mainLoop.post([&connection] { connection.reply(success); });
  };
  const auto operate = [](HelperClient& client, std::string text) -> Task<std::string> {
    // g++ 12 takes no list of elements within such an expression.
    const std::vector<TargetService> targets{
        {text, ServiceDomain::gui, 1, 2, ControlMode::sigstop}};
    const std::map<std::string, std::int64_t> snapshot{{text, 1}};
    std::string messages;
    messages +=
        (co_await client.hold(HoldRequest{text, CameraKind::builtIn, targets, true, 30, snapshot}))
            .message;
    messages +=
        (co_await client.hold({text, CameraKind::builtIn, targets, true, 30, snapshot})).message;
    messages += (co_await client.renew(text + text)).message;
    messages += (co_await client.release(text + text)).message;
    messages += (co_await client.release({})).message;
    co_return messages;
  };
  const auto ending = start(operate(client_, "a text that is too long for a short string"));
  EXPECT_EQ(ending->value, "Done.Done.Done.Done.Done.");
}

TEST_F(HelperClientTest, ARequestThatCannotBeEncodedFailsAsItIsBeforeAnyConnection) {
  HoldRequest request = someHoldRequest();
  request.durationHint = std::numeric_limits<double>::infinity();
  const auto ending = start(client_.hold(request));
  ASSERT_TRUE(ending->failure);
  EXPECT_THROW(std::rethrow_exception(ending->failure), EncodingError);
  EXPECT_TRUE(fake_.log.calls().empty());
}

TEST_F(HelperClientTest, RenewSendsTheLeaseIdentifierUnchanged) {
  for (const std::string lease : {"", " 7D3E ", "lease"}) {
    start(client_.renew(lease));
    EXPECT_EQ(fake_.connections.connections().back()->message(),
              (HelperMessage{HelperMethod::renew, TextArgument{lease}}));
  }
}

TEST_F(HelperClientTest, ReleaseSendsALeaseIdentifierOrNone) {
  start(client_.release(std::nullopt));
  EXPECT_EQ(connection().message(),
            (HelperMessage{HelperMethod::release, TextArgument{std::nullopt}}));
  start(client_.release(""));
  EXPECT_EQ(fake_.connections.connections().back()->message(),
            (HelperMessage{HelperMethod::release, TextArgument{""}}));
  start(client_.release("lease"));
  EXPECT_EQ(fake_.connections.connections().back()->message(),
            (HelperMessage{HelperMethod::release, TextArgument{"lease"}}));
}

TEST_F(HelperClientTest, TheOtherOperationsSendTheirMethodWithoutArgument) {
  start(client_.restoreAll());
  start(client_.muteMicrophones());
  start(client_.unmuteMicrophones());
  const auto& connections = fake_.connections.connections();
  EXPECT_EQ(connections.at(0)->message(), (HelperMessage{HelperMethod::restoreAll, NoArgument{}}));
  EXPECT_EQ(connections.at(1)->message(), (HelperMessage{HelperMethod::muteMic, NoArgument{}}));
  EXPECT_EQ(connections.at(2)->message(), (HelperMessage{HelperMethod::unmuteMic, NoArgument{}}));
}

TEST_F(HelperClientTest, EveryOperationThatChangesSomethingHasTwelveSeconds) {
  start(client_.hold(someHoldRequest()));
  start(client_.renew("lease"));
  start(client_.release(std::nullopt));
  start(client_.restoreAll());
  start(client_.muteMicrophones());
  start(client_.unmuteMicrophones());
  int limits = 0;
  for (const std::string& call : fake_.log.calls()) {
    if (!call.starts_with("schedule")) continue;
    EXPECT_EQ(call, "schedule the time limit in 12 s");
    ++limits;
  }
  EXPECT_EQ(limits, 6);
}

TEST_F(HelperClientTest, EveryControlOperationIsAnsweredByAnOperationResult) {
  std::vector<std::shared_ptr<TaskEnding<OperationResult>>> endings{
      start(client_.hold(someHoldRequest())), start(client_.renew("lease")),
      start(client_.release(std::nullopt)),   start(client_.restoreAll()),
      start(client_.muteMicrophones()),       start(client_.unmuteMicrophones())};
  for (const auto& connection : fake_.connections.connections()) connection->reply(success);
  fake_.mainLoop.runUntilIdle();
  for (const auto& ending : endings) {
    ASSERT_TRUE(ending->value) << describeFailure(*ending);
    EXPECT_EQ(ending->value->message, "Done.");
  }
}

TEST_F(HelperClientTest, AnUnsuccessfulResultIsAResult) {
  const auto ending = start(client_.restoreAll());
  connection().reply(R"({"message":"Nothing is held.","success":false})");
  fake_.mainLoop.runUntilIdle();
  ASSERT_TRUE(ending->value) << describeFailure(*ending);
  EXPECT_FALSE(ending->value->success);
}

void expectTransportInTheDecodersWords(const std::exception_ptr& failure) {
  ASSERT_TRUE(failure);
  try {
    std::rethrow_exception(failure);
  } catch (const HelperClientError& error) {
    EXPECT_EQ(error.errorCase(), Case::transport);
    EXPECT_THROW(std::rethrow_exception(error.underlyingError()), DecodingError);
    EXPECT_FALSE(error.errorDescription().empty());
  }
}

TEST_F(HelperClientTest, AReplyThatIsNotJSONIsTransportInTheDecodersWords) {
  const auto ending = start(client_.restoreAll());
  connection().reply("not JSON");
  fake_.mainLoop.runUntilIdle();
  expectTransportInTheDecodersWords(ending->failure);
}

TEST_F(HelperClientTest, AReplyThatIsAnotherRecordIsTransportInTheDecodersWords) {
  const auto ending = start(client_.currentState());
  connection().reply(R"({"message":"Done.","success":true})");
  fake_.mainLoop.runUntilIdle();
  expectTransportInTheDecodersWords(ending->failure);
}

TEST(DecodeDetectionResultTest, ReadsTheReplyOfADetection) {
  const DetectionResult detection = decodeDetectionResult(
      R"({"cameras":[],"notes":["a"],"resolvedTargets":[],"selectedCameraID":"","serviceStates":[]})");
  EXPECT_EQ(detection.notes, std::vector<std::string>{"a"});
  EXPECT_EQ(detection.selectedCameraID, "");
}

TEST(DecodeDetectionResultTest, AReplyThatDoesNotDecodeIsTransportInTheDecodersWords) {
  for (const char* reply : {"", "not JSON", "[]", "null", R"({"cameras":[]})"}) {
    try {
      decodeDetectionResult(reply);
      ADD_FAILURE() << reply;
    } catch (const HelperClientError& error) {
      EXPECT_EQ(error.errorCase(), Case::transport) << reply;
      EXPECT_THROW(std::rethrow_exception(error.underlyingError()), DecodingError) << reply;
    }
  }
}

TEST_F(HelperClientTest, AnEmptyReplyIsTransportInTheDecodersWords) {
  const auto ending = start(client_.restoreAll());
  connection().reply("");
  fake_.mainLoop.runUntilIdle();
  expectTransportInTheDecodersWords(ending->failure);
}
}  // namespace
}  // namespace blindfold
