// Everything that may end a request happens at once, on threads of its own. Built with the thread
// sanitizer this shows that no two of them touch a request unguarded; built in any way, that each
// request ends once.

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/request.h"
#include "tests/support/fake_platform.h"
#include "tests/support/task_ending.h"

namespace blindfold {
namespace {
constexpr int requestsPerRound = 100;

/// As many rounds as BLINDFOLD_RACE_OUTCOMES of the environment asks for, 100,000 outcomes by
/// default.
int countRounds() {
  const char* const outcomes = std::getenv("BLINDFOLD_RACE_OUTCOMES");
  return (outcomes == nullptr ? 100'000 : std::stoi(outcomes)) / requestsPerRound;
}

/// One round's requests, seen from the helper's side.
struct Round {
  std::vector<std::shared_ptr<FakeHelperConnection>> connections;
  std::vector<std::shared_ptr<FakeTimedWorkQueue::Item>> timeLimits;
};

using Fire = std::function<void(const Round&, std::size_t request)>;

const std::array<Fire, 5> contenders{
    [](const Round& round, std::size_t request) {
      round.connections[request]->reply(R"({"message":"","success":true})");
    },
    [](const Round& round, std::size_t request) {
      round.connections[request]->failMessage("failed");
    },
    [](const Round& round, std::size_t request) { round.connections[request]->becomeInvalid(); },
    [](const Round& round, std::size_t request) { round.connections[request]->interrupt(); },
    [](const Round& round, std::size_t request) { round.timeLimits[request]->elapse(); },
};

TEST(RequestRaceTest, RequestsWithAllEventsAtOnceEndOnceEach) {
  const int rounds = countRounds();
  FakePlatform fake;
  HelperClient client(std::make_shared<const HelperClientState>(/*skipPrecheck=*/true,
                                                                fake.platform, fake.settings));
  Round round;
  bool over = false;
  std::barrier gate(std::ssize(contenders) + 1);
  std::vector<std::thread> threads;
  for (const Fire& fire : contenders) {
    threads.emplace_back([&] {
      while (true) {
        gate.arrive_and_wait();
        if (over) return;
        for (std::size_t request = 0; request < round.connections.size(); ++request) {
          fire(round, request);
        }
        gate.arrive_and_wait();
      }
    });
  }

  int endedOnce = 0;
  int invalidatedOnce = 0;
  int freed = 0;
  for (int count = 0; count < rounds; ++count) {
    std::vector<std::shared_ptr<TaskEnding<OperationResult>>> endings;
    for (int request = 0; request < requestsPerRound; ++request) {
      endings.push_back(startTask(fake.mainLoop, client.restoreAll()));
    }
    fake.mainLoop.runUntilIdle();
    round = {fake.connections.takeConnections(), fake.timedWork.takeScheduled()};

    gate.arrive_and_wait();
    gate.arrive_and_wait();

    fake.mainLoop.runUntilIdle();
    for (const auto& ending : endings) endedOnce += ending->count == 1 ? 1 : 0;
    std::vector<std::weak_ptr<FakeHelperConnection>> observers;
    for (const auto& connection : round.connections) {
      connection->deliverInvalidation();
      invalidatedOnce += connection->invalidations() == 1 ? 1 : 0;
      observers.emplace_back(connection);
    }
    round = {};
    fake.log.clear();
    for (const auto& observer : observers) freed += observer.expired() ? 1 : 0;
  }
  over = true;
  gate.arrive_and_wait();
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(endedOnce, rounds * requestsPerRound);
  EXPECT_EQ(invalidatedOnce, rounds * requestsPerRound);
  EXPECT_EQ(freed, rounds * requestsPerRound);
}
}  // namespace
}  // namespace blindfold
