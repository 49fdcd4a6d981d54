// Requests are given up at random moments, from random threads, while replies, errors, losses and
// time-outs come at the same time. Built with the thread sanitizer this shows that no two of them
// touch a request unguarded; built in any way, that nothing is left of a request.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/request.h"
#include "tests/support/fake_platform.h"
#include "tests/support/give_up_race.h"

namespace blindfold {
namespace {
constexpr int rounds = 100;
constexpr int requestsPerRound = 100;
constexpr int eventThreads = 2;
constexpr std::chrono::microseconds longestPause{300};
constexpr std::chrono::microseconds timeBetweenEvents{20};

const Bytes success = R"({"message":"","success":true})";

class GiveUpRaceTest : public testing::Test {
 protected:
  Task<void> renew(int number) {
    try {
      co_await client_.renew(std::to_string(number));
    } catch (const HelperClientError&) {
      // Each of the events that come at random ends a request in its own way.
    }
  }

  /// Answers the request with this number once it waits, unless an event has ended it before.
  void answer(int number) {
    const HelperMessage message{HelperMethod::renew, TextArgument{std::to_string(number)}};
    EXPECT_TRUE(eventually([&] {
      for (const auto& connection : fake_.connections.connections()) {
        if (connection->message() != message) continue;
        connection->reply(success);
        return true;
      }
      return false;
    }));
  }

  /// Has random events happen to random requests, until there are no more of them in this round.
  void causeEvents(unsigned seed, const std::atomic<bool>& isOver) {
    std::minstd_rand random(seed);
    std::vector<std::shared_ptr<FakeTimedWorkQueue::Item>> timeLimits;
    while (!isOver) {
      for (auto& item : fake_.timedWork.takeScheduled()) timeLimits.push_back(std::move(item));
      if (!timeLimits.empty()) timeLimits[random() % timeLimits.size()]->elapse();
      const auto connections = fake_.connections.connections();
      if (!connections.empty()) causeEvent(*connections[random() % connections.size()], random());
      std::this_thread::sleep_for(timeBetweenEvents);
    }
  }

  static void causeEvent(const FakeHelperConnection& connection, std::uint_fast32_t event) {
    switch (event % 4) {
      case 0:
        return connection.reply(success);
      case 1:
        return connection.failMessage("failed");
      case 2:
        return connection.becomeInvalid();
      default:
        return connection.interrupt();
    }
  }

  /// Every connection was ended once, and is freed when it has told so.
  void expectNothingLeft() {
    std::vector<std::weak_ptr<FakeHelperConnection>> observers;
    for (const auto& connection : fake_.connections.takeConnections()) {
      EXPECT_EQ(connection->invalidations(), 1);
      connection->deliverInvalidation();
      observers.emplace_back(connection);
    }
    fake_.timedWork.takeScheduled();
    for (const auto& observer : observers) {
      EXPECT_TRUE(eventually([&] { return observer.expired(); })) << "a connection is left";
    }
    fake_.log.clear();
  }

  FakePlatform fake_;
  std::shared_ptr<const HelperClientState> state_ = std::make_shared<const HelperClientState>(
      /*skipPrecheck=*/true, fake_.platform, fake_.settings);
  HelperClient client_{state_};
};

TEST_F(GiveUpRaceTest, TenThousandRequestsGivenUpAtRandomMomentsLeaveNothing) {
  const long owners = state_.use_count();
  {
    GiveUpRace race([&](int number) { return renew(number); }, [&](int number) { answer(number); },
                    longestPause);
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
      std::atomic<bool> isOver = false;
      std::vector<std::thread> events;
      for (int index = 0; index < eventThreads; ++index) {
        events.emplace_back(
            [&, seed = static_cast<unsigned>(round + index + 1)] { causeEvents(seed, isOver); });
      }
      race.run(round * requestsPerRound, requestsPerRound);
      isOver = true;
      for (std::thread& thread : events) thread.join();
      expectNothingLeft();
    }
    EXPECT_GT(race.calledBack(), 0);
    EXPECT_GT(race.givenUp(), 0);
  }
  EXPECT_EQ(state_.use_count(), owners) << "the frame of a coroutine is left";
}
}  // namespace
}  // namespace blindfold
