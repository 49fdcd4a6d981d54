#include "blindfold/helperclient/run_task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/request.h"
#include "tests/support/fake_platform.h"

namespace blindfold {
namespace {
using namespace std::chrono_literals;

constexpr auto deadline = 10s;

const Bytes idleState = R"({"heldTargets":[],"micMuted":false,"mode":"idle"})";

/// Runs work at once, on a thread of its own.
void onNewThread(std::function<void()> work) {
  std::thread(std::move(work)).detach();
}

Task<int> seven() {
  co_return 7;
}

Task<int> failing() {
  throw std::runtime_error("no seven today");
  co_return 7;
}

Task<std::thread::id> currentThread() {
  co_return std::this_thread::get_id();
}

Task<void> nothing() {
  co_return;
}

/// The client of a helper that the test plays.
class RunTaskTest : public testing::Test {
 protected:
  /// Ends the connections, which hold their handlers until then.
  void TearDown() override {
    for (const auto& connection : fake_.connections.takeConnections()) {
      connection->deliverInvalidation();
    }
  }

  /// The connection of the request that was started last, once there is one.
  std::shared_ptr<FakeHelperConnection> waitForRequest() {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < end) {
      const auto connections = fake_.connections.connections();
      if (!connections.empty() && connections.back()->message()) return connections.back();
      std::this_thread::yield();
    }
    throw std::runtime_error("no request was started");
  }

  static void expectThatACallbackMayGiveItsTaskUp(const Executor& executor) {
    std::promise<void> called;
    StartedTask started;
    std::promise<void> stored;
    auto isStored = stored.get_future().share();
    started = start(
        seven(),
        [&](const TaskResult<int>&) {
          isStored.wait();
          started.giveUp();
          called.set_value();
        },
        executor);
    stored.set_value();
    EXPECT_EQ(called.get_future().wait_for(deadline), std::future_status::ready);
  }

  FakePlatform fake_;
  HelperClient client_{std::make_shared<const HelperClientState>(/*skipPrecheck=*/true,
                                                                 fake_.platform, fake_.settings)};
};

// Waiting.

TEST_F(RunTaskTest, SyncWaitReturnsTheTasksValue) {
  EXPECT_EQ(syncWait(seven()), 7);
  syncWait(nothing());
}

TEST_F(RunTaskTest, SyncWaitThrowsTheTasksException) {
  EXPECT_THROW(syncWait(failing()), std::runtime_error);
}

TEST_F(RunTaskTest, SyncWaitRunsTheTaskOnTheCallingThread) {
  EXPECT_EQ(syncWait(currentThread()), std::this_thread::get_id());
}

TEST_F(RunTaskTest, ATaskContinuesOnTheThreadThatWaitsForIt) {
  auto continuation = [](HelperClient& client) -> Task<std::thread::id> {
    co_await client.currentState();
    co_return std::this_thread::get_id();
  };
  std::thread helper([&] { waitForRequest()->reply(idleState); });
  EXPECT_EQ(syncWait(continuation(client_)), std::this_thread::get_id());
  helper.join();
}

TEST_F(RunTaskTest, SyncWaitNeedsNobodyToServeTheMainLoop) {
  std::thread helper([&] { waitForRequest()->reply(idleState); });
  EXPECT_EQ(syncWait(client_.currentState()).mode, "idle");
  helper.join();
}

TEST_F(RunTaskTest, SeveralThreadsWaitAtOnce) {
  std::vector<std::future<int>> values;
  for (int count = 0; count < 8; ++count) {
    values.push_back(std::async(std::launch::async, [] { return syncWait(seven()); }));
  }
  for (auto& value : values) EXPECT_EQ(value.get(), 7);
}

TEST_F(RunTaskTest, ATaskMayOutliveItsClient) {
  auto client = std::make_unique<HelperClient>(std::make_shared<const HelperClientState>(
      /*skipPrecheck=*/true, fake_.platform, fake_.settings));
  auto task = client->currentState();
  client.reset();
  std::thread helper([&] { waitForRequest()->reply(idleState); });
  EXPECT_EQ(syncWait(std::move(task)).mode, "idle");
  helper.join();
}

// Starting.

TEST_F(RunTaskTest, ACallbackReceivesTheTasksValueOnItsExecutor) {
  std::promise<int> value;
  const auto started =
      start(seven(), [&](TaskResult<int> result) { value.set_value(result.value()); }, onNewThread);
  auto received = value.get_future();
  ASSERT_EQ(received.wait_for(deadline), std::future_status::ready);
  EXPECT_EQ(received.get(), 7);
}

TEST_F(RunTaskTest, ACallbackReceivesTheTasksException) {
  std::promise<std::exception_ptr> error;
  const auto started = start(
      failing(), [&](TaskResult<int> result) { error.set_value(result.error()); }, onNewThread);
  auto received = error.get_future();
  ASSERT_EQ(received.wait_for(deadline), std::future_status::ready);
  EXPECT_THROW(std::rethrow_exception(received.get()), std::runtime_error);
}

TEST_F(RunTaskTest, AStartedTaskRunsOnAnotherThread) {
  std::promise<std::thread::id> thread;
  const auto started = start(
      currentThread(),
      [&](TaskResult<std::thread::id> result) { thread.set_value(result.value()); }, onNewThread);
  auto received = thread.get_future();
  ASSERT_EQ(received.wait_for(deadline), std::future_status::ready);
  EXPECT_NE(received.get(), std::this_thread::get_id());
}

TEST_F(RunTaskTest, ACallbackIsNotCalledInsideStart) {
  std::atomic<bool> isStarting = true;
  std::promise<bool> wasStarting;
  const auto started = start(
      seven(), [&](const TaskResult<int>&) { wasStarting.set_value(isStarting); },
      [&](std::function<void()> work) {
        onNewThread([&, work = std::move(work)] {
          while (isStarting) std::this_thread::yield();
          work();
        });
      });
  isStarting = false;
  auto received = wasStarting.get_future();
  ASSERT_EQ(received.wait_for(deadline), std::future_status::ready);
  EXPECT_FALSE(received.get());
}

TEST_F(RunTaskTest, AStartedTaskMayWaitForAnother) {
  std::promise<std::string> mode;
  auto waiting = [](HelperClient& client) -> Task<std::string> {
    co_return syncWait(client.currentState()).mode;
  };
  const auto started = start(
      waiting(client_), [&](TaskResult<std::string> result) { mode.set_value(result.value()); },
      onNewThread);
  waitForRequest()->reply(idleState);
  auto received = mode.get_future();
  ASSERT_EQ(received.wait_for(deadline), std::future_status::ready);
  EXPECT_EQ(received.get(), "idle");
}

// Giving up.

TEST_F(RunTaskTest, DestroyingAStartedTaskEndsItsRequestAtOnce) {
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> observer = captured;
  {
    const auto started = start(
        client_.currentState(),
        [captured = std::move(captured)](const TaskResult<HoldState>&) { FAIL(); }, onNewThread);
    waitForRequest();
  }
  const auto connection = fake_.connections.connections().back();
  EXPECT_EQ(connection->invalidations(), 1);
  EXPECT_EQ(fake_.log.calls().back(), "invalidate");
  connection->reply(idleState);
  fake_.timedWork.elapse();
  connection->deliverInvalidation();
  EXPECT_TRUE(observer.expired());
}

TEST_F(RunTaskTest, ACallbackMayGiveItsOwnTaskUp) {
  expectThatACallbackMayGiveItsTaskUp(onNewThread);
}

TEST_F(RunTaskTest, GivingUpWaitsForACallbackOnAnotherThread) {
  std::promise<void> entered;
  std::atomic<bool> hasReturned = false;
  auto started = start(
      seven(),
      [&](const TaskResult<int>&) {
        entered.set_value();
        std::this_thread::sleep_for(50ms);
        hasReturned = true;
      },
      onNewThread);
  entered.get_future().wait();
  started.giveUp();
  EXPECT_TRUE(hasReturned);
}

TEST_F(RunTaskTest, GivingUpWaitsForTheExecutorThatTakesTheCallback) {
  std::promise<void> entered;
  std::atomic<bool> hasReturned = false;
  auto started = start(
      seven(), [](const TaskResult<int>&) { FAIL(); },
      [&](const std::function<void()>&) {
        entered.set_value();
        std::this_thread::sleep_for(50ms);
        hasReturned = true;
      });
  entered.get_future().wait();
  started.giveUp();
  EXPECT_TRUE(hasReturned);
}

TEST_F(RunTaskTest, NothingIsLeftOfACallbackOnceItsTaskIsGivenUp) {
  std::promise<void> entered;
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> observer = captured;
  auto started = start(
      seven(),
      [&entered, captured = std::move(captured)](const TaskResult<int>&) {
        entered.set_value();
        std::this_thread::sleep_for(50ms);
      },
      onNewThread);
  entered.get_future().wait();
  started.giveUp();
  EXPECT_TRUE(observer.expired());
}

TEST_F(RunTaskTest, AnExecutorMayRunTheCallbackAtOnce) {
  expectThatACallbackMayGiveItsTaskUp([](const std::function<void()>& work) { work(); });
}

TEST_F(RunTaskTest, ATaskThatIsNotStartedIsDestroyedWithoutARequest) {
  {
    const auto task = client_.currentState();
  }
  EXPECT_TRUE(fake_.log.calls().empty());
}

// Exceptions that nobody can receive.

using RunTaskDeathTest = RunTaskTest;

TEST_F(RunTaskDeathTest, AnExceptionThatLeavesACallbackEndsTheProgramWithAMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        const auto started = start(
            seven(), [](const TaskResult<int>&) { throw std::runtime_error("no handler"); },
            onNewThread);
        std::this_thread::sleep_for(deadline);
      },
      "A callback threw an exception: no handler");
}

TEST_F(RunTaskDeathTest, AnExceptionThatLeavesWorkOnTheMainLoopEndsTheProgramWithAMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        mainLoopExecutor()([] { throw std::runtime_error("no handler"); });
        runMainLoop();
      },
      "Work on the main loop threw an exception: no handler");
}

TEST_F(RunTaskDeathTest, AnExceptionThatLeavesASpawnedTaskEndsTheProgramWithAMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        spawn([]() -> Task<void> {
          throw std::runtime_error("no handler");
          co_return;
        }());
        runMainLoop();
      },
      "A task that nobody awaits threw an exception: no handler");
}
}  // namespace
}  // namespace blindfold
