#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/request.h"

#include <gtest/gtest.h>

#include <coroutine>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/json_encoder.h"
#include "tests/support/fake_platform.h"
#include "tests/support/task_ending.h"

namespace blindfold {
namespace {
using Case = HelperClientError::Case;

const Bytes idleState = R"({"heldTargets":[],"micMuted":false,"mode":"idle"})";
const Bytes success = R"({"message":"Done.","success":true})";

HoldRequest someHoldRequest() {
  return {"CAM-0001", CameraKind::builtIn, {}, true, 30.0, {{"a", 1}}};
}

class HelperClientTest : public testing::Test {
 protected:
  /// Ends the requests that a test has left waiting: each keeps its coroutine until then.
  void TearDown() override {
    for (const auto& connection : fake_.connections.takeConnections()) {
      connection->deliverInvalidation();
    }
    fake_.mainLoop.runUntilIdle();
  }

  template <class T>
  std::shared_ptr<TaskEnding<T>> start(Task<T> task) {
    auto ending = startTask(fake_.mainLoop, std::move(task));
    fake_.mainLoop.runUntilIdle();
    return ending;
  }

  /// Makes this program one that the precheck accepts by its bundle.
  void authorizeByBundle() {
    const std::string app = "/Applications/Blindfold.app";
    const std::string executable = app + "/Contents/MacOS/Blindfold";
    fake_.bundles.main.dictionary["CFBundleIdentifier"] = std::string("app.blindfold.mac");
    fake_.bundles.main.executable = FileURL(executable);
    for (const auto& directory : {app, app + "/Contents", app + "/Contents/MacOS"}) {
      fake_.files.attributesByPath[directory] = {FileType::directory, 0755};
    }
    fake_.files.attributesByPath[executable] = {FileType::regular, 0755};
  }

  FakeHelperConnection& connection() { return *fake_.connections.connections().at(0); }

  static std::string text(Case plainCase) {
    return HelperClientError(plainCase).errorDescription();
  }

  FakePlatform fake_;
  HelperClient client_{std::make_shared<const HelperClientState>(/*skipPrecheck=*/true,
                                                                 fake_.platform, fake_.settings)};
};

// A client's construction.

/// A state keeps references to these, so that temporaries would be gone when a request reads them.
static_assert(
    std::is_constructible_v<HelperClientState, bool, const Platform&, const DeploymentSettings&>);
static_assert(
    !std::is_constructible_v<HelperClientState, bool, const Platform&, DeploymentSettings>);
static_assert(
    !std::is_constructible_v<HelperClientState, bool, Platform, const DeploymentSettings&>);
static_assert(!std::is_constructible_v<HelperClientState, bool, Platform, const DeploymentValues&>);

TEST_F(HelperClientTest, MakingAClientContactsNothing) {
  EXPECT_TRUE(fake_.log.calls().empty());
  EXPECT_TRUE(fake_.files.executableQueries().empty());
  EXPECT_TRUE(fake_.bundles.main.askedKeys().empty());
}

TEST_F(HelperClientTest, TheTimeLimitsAreFiveAndTwelveSeconds) {
  EXPECT_EQ(client_.statusRequestTimeout, 5.0);
  EXPECT_EQ(client_.controlRequestTimeout, 12.0);
}

// One request, step by step.

TEST_F(HelperClientTest, ARequestTakesItsStepsInOrder) {
  const auto ending = start(client_.currentState());
  connection().reply(idleState);
  EXPECT_EQ(fake_.log.calls(),
            (std::vector<std::string>{
                "connect to app.blindfold.helper", "set the invalidation handler",
                "set the interruption handler", "resume", "schedule the time limit in 5 s",
                "make the proxy", "send currentState:", "cancel the time limit", "invalidate"}));
}

TEST_F(HelperClientTest, WithoutAnInstalledHelperNoConnectionIsMade) {
  fake_.files.executables.clear();
  const auto ending = start(client_.currentState());
  EXPECT_EQ(describeFailure(*ending), "Protection service is not set up.");
  EXPECT_TRUE(fake_.log.calls().empty());
}

TEST_F(HelperClientTest, TheHelperIsLookedForAtTheConfiguredPath) {
  fake_.bundles.main.dictionary["BlindfoldHelperInstallPath"] = std::string("/opt/helper");
  start(client_.currentState());
  EXPECT_EQ(fake_.files.executableQueries(), std::vector<std::string>{"/opt/helper"});
}

TEST_F(HelperClientTest, TheConnectionGoesToTheConfiguredService) {
  fake_.bundles.main.dictionary["BlindfoldHelperMachServiceName"] = std::string("other.service");
  start(client_.currentState());
  EXPECT_EQ(fake_.log.calls().at(0), "connect to other.service");
}

TEST_F(HelperClientTest, AClientWithoutAnInstalledHelperIsNotChecked) {
  fake_.files.executables.clear();
  HelperClient checked(std::make_shared<const HelperClientState>(
      /*skipPrecheck=*/false, fake_.platform, fake_.settings));
  const auto ending = start(checked.currentState());
  EXPECT_EQ(describeFailure(*ending), text(Case::helperNotInstalled));
}

TEST_F(HelperClientTest, AnAuthorizedClientConnects) {
  authorizeByBundle();
  HelperClient checked(std::make_shared<const HelperClientState>(
      /*skipPrecheck=*/false, fake_.platform, fake_.settings));
  start(checked.currentState());
  EXPECT_EQ(connection().message(), (HelperMessage{HelperMethod::currentState, NoArgument{}}));
}

TEST_F(HelperClientTest, TheCheckIsMadeAnewForEachRequest) {
  authorizeByBundle();
  HelperClient checked(std::make_shared<const HelperClientState>(
      /*skipPrecheck=*/false, fake_.platform, fake_.settings));
  start(checked.currentState());
  fake_.files.attributesByPath["/Applications/Blindfold.app/Contents"].posixPermissions = 0775;
  EXPECT_EQ(describeFailure(*start(checked.currentState())), text(Case::unauthorizedClient));
  fake_.files.attributesByPath["/Applications/Blindfold.app/Contents"].posixPermissions = 0755;
  start(checked.currentState());
  EXPECT_EQ(fake_.connections.connections().size(), 2U);
}

TEST_F(HelperClientTest, TheInstallPathIsLookedAtAnewForEachRequest) {
  start(client_.currentState());
  fake_.files.executables.clear();
  EXPECT_EQ(describeFailure(*start(client_.currentState())), text(Case::helperNotInstalled));
}

TEST_F(HelperClientTest, TheCallerContinuesFromTheMainLoopNeverInsideAHandler) {
  const auto ending = start(client_.currentState());
  connection().reply(idleState);
  EXPECT_EQ(ending->count, 0);
  fake_.mainLoop.runUntilIdle();
  EXPECT_EQ(ending->count, 1);
}

TEST_F(HelperClientTest, AnUnauthorizedClientMakesNoConnection) {
  HelperClient checked(std::make_shared<const HelperClientState>(/*skipPrecheck=*/false,
                                                                 fake_.platform, fake_.settings));
  const auto ending = start(checked.currentState());
  EXPECT_EQ(describeFailure(*ending), text(Case::unauthorizedClient));
  EXPECT_TRUE(fake_.log.calls().empty());
}

TEST_F(HelperClientTest, TheSkippedPrecheckReadsNoSignature) {
  start(client_.currentState());
  EXPECT_EQ(fake_.files.attributeQueries().size(), 0U);
  EXPECT_EQ(fake_.files.executableQueries(), std::vector<std::string>{fake_.installPath});
}

TEST_F(HelperClientTest, MemoryThatRunsOutBeforeAConnectionIsMadeIsTransport) {
  fake_.files.hasMemory = false;
  const auto ending = start(client_.currentState());
  EXPECT_EQ(describeFailure(*ending), "Out of memory.");
  EXPECT_TRUE(fake_.connections.connections().empty());
}

/// The coroutine of a library of its own, which knows nothing of executors.
struct ForeignCoroutine {
  struct promise_type {
    ForeignCoroutine get_return_object() const noexcept { return {}; }
    std::suspend_never initial_suspend() const noexcept { return {}; }
    std::suspend_never final_suspend() const noexcept { return {}; }
    void return_void() const noexcept {}
    void unhandled_exception() const noexcept { std::abort(); }
  };
};

ForeignCoroutine storeMode(Task<HoldState> task, std::string& mode) {
  const HoldState state = co_await std::move(task);
  mode = state.mode;
}

TEST_F(HelperClientTest, ACoroutineOfAnotherLibraryContinuesFromTheMainLoop) {
  std::string mode;
  storeMode(client_.currentState(), mode);
  connection().reply(idleState);
  EXPECT_EQ(mode, "");
  fake_.mainLoop.runUntilIdle();
  EXPECT_EQ(mode, "idle");
}

TEST_F(HelperClientTest, EveryRequestHasAConnectionOfItsOwn) {
  for (int request = 0; request < 3; ++request) {
    const auto ending = start(client_.currentState());
    fake_.connections.connections().back()->reply(idleState);
    fake_.mainLoop.runUntilIdle();
    EXPECT_TRUE(ending->value);
  }
  EXPECT_EQ(fake_.connections.connections().size(), 3U);
}

TEST_F(HelperClientTest, AnEndedRequestLeavesNothingBehind) {
  start(client_.currentState());
  const std::weak_ptr<FakeHelperConnection> observer = fake_.connections.connections().at(0);
  connection().reply(idleState);
  connection().deliverInvalidation();
  fake_.mainLoop.runUntilIdle();
  fake_.timedWork.takeScheduled();
  fake_.connections.takeConnections();
  EXPECT_TRUE(observer.expired());
}

// Each outcome.

struct Event {
  std::string name;
  std::function<void(FakePlatform&, FakeHelperConnection&)> happen;
  std::string ending;
};

const std::vector<Event>& events() {
  static const std::vector<Event> all{
      {"reply", [](FakePlatform&, FakeHelperConnection& it) { it.reply(success); }, "no failure"},
      {"proxy error",
       [](FakePlatform&, FakeHelperConnection& it) { it.failMessage("Couldn't communicate."); },
       "Couldn't communicate."},
      {"invalidation", [](FakePlatform&, FakeHelperConnection& it) { it.becomeInvalid(); },
       "Protection service is unavailable."},
      {"interruption", [](FakePlatform&, FakeHelperConnection& it) { it.interrupt(); },
       "Protection service is unavailable."},
      {"time-out", [](FakePlatform& fake, FakeHelperConnection&) { fake.timedWork.elapse(); },
       "Protection service took too long to respond."},
  };
  return all;
}

TEST_F(HelperClientTest, ARequestWaitsUntilSomethingHappens) {
  const auto ending = start(client_.restoreAll());
  EXPECT_EQ(ending->count, 0);
}

TEST_F(HelperClientTest, EachEventEndsTheRequestInItsOwnWay) {
  for (const Event& event : events()) {
    const auto ending = start(client_.restoreAll());
    event.happen(fake_, *fake_.connections.connections().back());
    fake_.mainLoop.runUntilIdle();
    EXPECT_EQ(describeFailure(*ending), event.ending) << event.name;
  }
}

TEST_F(HelperClientTest, OfEveryTwoEventsTheFirstCounts) {
  for (const Event& first : events()) {
    for (const Event& second : events()) {
      const auto ending = start(client_.restoreAll());
      FakeHelperConnection& connection = *fake_.connections.connections().back();
      first.happen(fake_, connection);
      second.happen(fake_, connection);
      connection.deliverInvalidation();
      fake_.mainLoop.runUntilIdle();
      EXPECT_EQ(describeFailure(*ending), first.ending) << first.name << ", then " << second.name;
      EXPECT_EQ(ending->count, 1) << first.name << ", then " << second.name;
      EXPECT_EQ(connection.invalidations(), 1) << first.name << ", then " << second.name;
    }
  }
}

TEST_F(HelperClientTest, AnEventBetweenAnyTwoStepsEndsTheRequestOnce) {
  const std::vector<std::string> steps{"set the interruption handler", "resume", "make the proxy",
                                       "send restoreAll:"};
  for (const std::string& step : steps) {
    fake_.connections.prepare = [&](FakeHelperConnection& connection) {
      connection.meanwhile = [&, step](const std::string& call) {
        if (call == step) connection.becomeInvalid();
      };
    };
    const auto ending = start(client_.restoreAll());
    FakeHelperConnection& connection = *fake_.connections.connections().back();
    connection.reply(success);
    fake_.timedWork.elapse();
    fake_.mainLoop.runUntilIdle();
    EXPECT_EQ(describeFailure(*ending), text(Case::helperUnreachable)) << step;
    EXPECT_EQ(ending->count, 1) << step;
    EXPECT_EQ(connection.invalidations(), 1) << step;
  }
}

TEST_F(HelperClientTest, AProxyOfAnotherProtocolIsAnInvalidResponse) {
  fake_.connections.prepare = [](FakeHelperConnection& connection) {
    connection.speaksProtocol = false;
  };
  const auto ending = start(client_.currentState());
  EXPECT_EQ(describeFailure(*ending), text(Case::invalidResponse));
  EXPECT_EQ(connection().invalidations(), 1);
  EXPECT_FALSE(connection().message());
}

TEST_F(HelperClientTest, APlatformThatMakesNoConnectionIsReportedInItsOwnWords) {
  fake_.connections.refusal = "No more ports.";
  EXPECT_EQ(describeFailure(*start(client_.currentState())), "No more ports.");
}

TEST_F(HelperClientTest, APlatformThatRefusesAStepIsReportedInItsOwnWordsOnce) {
  const std::vector<std::string> steps{"set the invalidation handler",
                                       "set the interruption handler", "resume", "make the proxy",
                                       "send currentState:"};
  for (const std::string& step : steps) {
    fake_.connections.prepare = [&](FakeHelperConnection& connection) {
      connection.refusal = {step, "Refused: " + step};
    };
    const auto ending = start(client_.currentState());
    fake_.connections.connections().back()->reply(idleState);
    fake_.timedWork.elapse();
    fake_.mainLoop.runUntilIdle();
    EXPECT_EQ(describeFailure(*ending), "Refused: " + step);
    EXPECT_EQ(ending->count, 1) << step;
  }
}

// The operations.

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
