// A client, and one request of it step by step.

#include <gtest/gtest.h>

#include <coroutine>
#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/helperclient/helper_client_test.h"

namespace blindfold {
namespace {
using Case = HelperClientError::Case;

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
}  // namespace
}  // namespace blindfold
