// Requests when memory runs out, allocation by allocation.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>

#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/helperclient/request.h"
#include "tests/support/failing_new.h"
#include "tests/support/fake_platform.h"
#include "tests/support/task_ending.h"

namespace blindfold {
namespace {
/// Starts a request in which one allocation fails, after `successes` others, if there are so many,
/// which `hasFailed` then says. Returns how it ends: not at all, with a failure's text, or well.
std::string endWithFailingAllocation(std::size_t successes, bool& hasFailed) {
  FakePlatform fake;
  HelperClient client(std::make_shared<const HelperClientState>(
      /*skipPrecheck=*/true, fake.platform, fake.settings));
  std::shared_ptr<TaskEnding<HoldState>> ending;
  try {
    const FailingNew failing(successes);
    ending = startTask(fake.mainLoop, client.currentState());
    fake.mainLoop.runUntilIdle();
  } catch (const std::bad_alloc&) {
    hasFailed = true;
    return "not started";
  }
  hasFailed = FailingNew::hasFailed();
  fake.mainLoop.runUntilIdle();
  for (const auto& connection : fake.connections.takeConnections()) {
    connection->reply(R"({"mode":"idle"})");
    connection->deliverInvalidation();
  }
  fake.mainLoop.runUntilIdle();
  if (ending->count != 1) return "no end";
  return ending->failure ? errorDescription(ending->failure) : "no failure";
}

TEST(OutOfMemoryTest, WhereverMemoryRunsOutARequestIsNotMadeOrFailsOnceInPlainWords) {
  bool hasFailed = true;
  int failures = 0;
  for (std::size_t successes = 0; hasFailed; ++successes) {
    const std::string end = endWithFailingAllocation(successes, hasFailed);
    failures += end == "Out of memory." ? 1 : 0;
    // A stream of the fakes keeps a failure to itself.
    const bool isEnd = end == "not started" || end == "Out of memory." || end == "no failure";
    EXPECT_TRUE(isEnd) << successes << ": " << end;
  }
  EXPECT_GT(failures, 10);
}

TEST(OutOfMemoryTest, AReplyWhoseRecordFindsNoMemoryFailsInPlainWords) {
  constexpr std::size_t longText = 1'000'000;
  const std::string reply = R"({"mode":")" + std::string(longText, 'x') + R"("})";
  FakePlatform fake;
  HelperClient client(std::make_shared<const HelperClientState>(
      /*skipPrecheck=*/true, fake.platform, fake.settings));
  const auto ending = startTask(fake.mainLoop, client.currentState());
  fake.mainLoop.runUntilIdle();
  fake.connections.connections().front()->reply(reply);
  {
    const FailingLargeNew failing(longText);
    fake.mainLoop.runUntilIdle();
  }
  EXPECT_EQ(describeFailure(*ending), "Out of memory.");
}
}  // namespace
}  // namespace blindfold
