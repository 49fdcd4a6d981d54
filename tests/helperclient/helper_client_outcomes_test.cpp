// The outcomes of a request.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/helperclient/helper_client_test.h"

namespace blindfold {
namespace {
using Case = HelperClientError::Case;

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
}  // namespace
}  // namespace blindfold
