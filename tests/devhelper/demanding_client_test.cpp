// Clients that are many, send a lot or no frames, or never read.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "blindfold/model/hold.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/platform/linux/frame.h"
#include "tests/devhelper/raw_client.h"
#include "tests/devhelper/running_helper.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
using namespace std::chrono_literals;

const HelperMessage status{HelperMethod::currentState, NoArgument{}};

class DemandingClientTest : public testing::Test {
 protected:
  TestServiceName service_;
};

/// The memory that the process occupies (proc(5), statm).
std::size_t residentBytes(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  file >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST_F(DemandingClientTest, AClientThatSendsNoFramesIsDroppedAlone) {
  const RunningHelper helper(service_.text());
  RawClient wellBehaved(service_.text());
  const auto request = encodeFrame({FrameKind::request, encodeMessage(status)});
  const std::vector<std::string> malformed{
      "GET / HTTP/1.1\r\n\r\n",
      std::string(64, '\0'),
      encodeFrame({FrameKind::reply, "{}"}),
      encodeFrame({FrameKind::request, ""}),
      encodeFrame({FrameKind::request, "\x04nope"}),
      request.substr(0, 8) + "\xff\xff\xff\xff",
  };
  for (const auto& bytes : malformed) {
    RawClient client(service_.text());
    client.send(bytes);
    EXPECT_EQ(client.receiveToEnd(), "");
  }
  wellBehaved.sendMessage(status);
  EXPECT_TRUE(wellBehaved.receiveFrame());
}

TEST_F(DemandingClientTest, AMessageMayArriveByteByByte) {
  const RunningHelper helper(service_.text());
  RawClient client(service_.text());
  for (const char byte : encodeFrame({FrameKind::request, encodeMessage(status)})) {
    ASSERT_TRUE(client.send(std::string(1, byte)));
  }
  EXPECT_TRUE(client.receiveFrame());
}

TEST_F(DemandingClientTest, ThousandsOfMessagesMayArriveAtOnce) {
  const RunningHelper helper(service_.text());
  RawClient client(service_.text());
  constexpr int count = 3000;
  std::string bytes;
  for (int i = 0; i < count; ++i) {
    bytes += encodeFrame({FrameKind::request, encodeMessage(status)});
  }
  std::thread sender([&] { client.send(bytes); });
  int received = 0;
  while (received < count && client.receiveFrame()) ++received;
  sender.join();
  EXPECT_EQ(received, count);
}

TEST_F(DemandingClientTest, ALargeMessageIsTakenWhole) {
  const RunningHelper helper(service_.text());
  RawClient client(service_.text());
  client.sendMessage({HelperMethod::hold, DataArgument{std::string(8'000'000, ' ')}});
  const auto frame = client.receiveFrame().value();
  EXPECT_FALSE(JSONDecoder{}.decode<OperationResult>(frame.payload).success);
}

TEST_F(DemandingClientTest, ClientsBeyondTheLimitWaitForTheirTurn) {
  const RunningHelper helper(service_.text());
  // More connections than are served at a time and fewer than may wait to be accepted.
  std::vector<RawClient> clients;
  clients.reserve(300);
  for (int i = 0; i < 300; ++i) clients.emplace_back(service_.text());
  clients.back().sendMessage(status);
  EXPECT_TRUE(clients.back().staysQuiet(100ms));
  clients.erase(clients.begin(), clients.begin() + 100);
  EXPECT_TRUE(clients.back().receiveFrame());
}

TEST_F(DemandingClientTest, ManyClientsAreServedAtTheSameTime) {
  const RunningHelper helper(service_.text());
  std::vector<RawClient> clients;
  clients.reserve(64);
  for (int i = 0; i < 64; ++i) clients.emplace_back(service_.text());
  for (auto& client : clients) client.sendMessage(status);
  for (auto& client : clients) EXPECT_TRUE(client.receiveFrame());
}

TEST_F(DemandingClientTest, ClientsThatNeverReadCostTheHelperNoCopyAndOthersNoTime) {
  const TemporaryDirectory directory;
  const auto reply = directory.path() + "/reply";
  const auto script = directory.path() + "/script";
  std::ofstream(reply) << std::string(maximumFramePayload, 'x');
  std::ofstream(script) << "muteMic: reply-file " << reply << "\n";
  RunningHelper helper(service_.text(), {"--script", script});
  const auto before = residentBytes(helper.program().pid());
  std::vector<RawClient> clients;
  clients.reserve(20);
  for (int i = 0; i < 20; ++i) {
    clients.emplace_back(service_.text());
    clients.back().sendMessage({HelperMethod::muteMic, NoArgument{}});
  }
  RawClient other(service_.text());
  const auto begin = std::chrono::steady_clock::now();
  other.sendMessage(status);
  EXPECT_TRUE(other.receiveFrame());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
  EXPECT_LT(residentBytes(helper.program().pid()), before + maximumFramePayload);
}

TEST_F(DemandingClientTest, UnfinishedMessagesAreKeptUpToALimit) {
  const RunningHelper helper(service_.text());
  const std::string part =
      encodeFrameHeader(FrameKind::request, maximumFramePayload) + std::string(60'000'000, 'x');
  std::vector<RawClient> clients;
  clients.reserve(5);
  for (int i = 0; i < 4; ++i) {
    clients.emplace_back(service_.text());
    EXPECT_TRUE(clients.back().send(part));
  }
  clients.emplace_back(service_.text());
  EXPECT_FALSE(clients.back().send(part));
  RawClient other(service_.text());
  other.sendMessage(status);
  EXPECT_TRUE(other.receiveFrame());
}

TEST_F(DemandingClientTest, AClientThatLeavesMakesRoomForOthers) {
  const RunningHelper helper(service_.text());
  const std::string part =
      encodeFrameHeader(FrameKind::request, maximumFramePayload) + std::string(60'000'000, 'x');
  for (int i = 0; i < 6; ++i) {
    RawClient client(service_.text());
    EXPECT_TRUE(client.send(part));
  }
}

TEST_F(DemandingClientTest, AMessageThatTheMemoryDoesNotHoldEndsItsClientAlone) {
  if (isSanitized) GTEST_SKIP() << "A sanitizer ends the program where memory ends.";
  RunningHelper helper(service_.text());
  const rlimit limit{.rlim_cur = 100'000'000, .rlim_max = 100'000'000};
  ASSERT_EQ(prlimit(helper.program().pid(), RLIMIT_AS, &limit, nullptr), 0);
  for (int i = 0; i < 3; ++i) {
    RawClient client(service_.text());
    const std::string largest(maximumFramePayload - 100, ' ');
    const auto request = encodeFrame(
        {FrameKind::request, encodeMessage({HelperMethod::hold, DataArgument{largest}})});
    client.send(request);
    EXPECT_EQ(client.receiveToEnd(), "");
  }
  RawClient other(service_.text());
  other.sendMessage(status);
  EXPECT_TRUE(other.receiveFrame());
}
}  // namespace
}  // namespace blindfold
