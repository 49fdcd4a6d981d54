#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "blindfold/model/hold.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/platform/linux/frame.h"
#include "tests/devhelper/raw_client.h"
#include "tests/devhelper/running_helper.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

// A client's view of every action of a script.
namespace blindfold {
namespace {
using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

const HelperMessage status{HelperMethod::currentState, NoArgument{}};
const HelperMessage mute{HelperMethod::muteMic, NoArgument{}};

class ScriptedHelperTest : public testing::Test {
 protected:
  /// Starts a helper that follows `script`.
  void start(const std::string& script) {
    const auto path = directory_.path() + "/script";
    std::ofstream(path, std::ios::binary) << script;
    helper_.emplace(service_.text(), std::vector<std::string>{"--script", path});
  }

  RawClient client() const { return RawClient(service_.text()); }

  /// A client that has sent `message`.
  RawClient clientWith(const HelperMessage& message) const {
    auto result = client();
    result.sendMessage(message);
    return result;
  }

  TemporaryDirectory directory_;
  TestServiceName service_;
  std::optional<RunningHelper> helper_;
};

Frame replyFrame(const Bytes& bytes) {
  return {FrameKind::reply, bytes};
}

TEST_F(ScriptedHelperTest, AReplyIsTheLinesBytes) {
  start("currentState: reply  not JSON \n");
  EXPECT_EQ(clientWith(status).receiveFrame(), replyFrame(" not JSON "));
}

TEST_F(ScriptedHelperTest, AReplyMayBeEmpty) {
  start("currentState: reply\n");
  EXPECT_EQ(clientWith(status).receiveFrame(), replyFrame(""));
}

TEST_F(ScriptedHelperTest, ARepliedFileArrivesWholeHoweverLarge) {
  const auto path = directory_.path() + "/reply";
  std::string bytes(maximumFramePayload, 'x');
  bytes.back() = '\n';
  std::ofstream(path, std::ios::binary) << bytes;
  start("currentState: reply-file " + path);
  const auto frame = clientWith(status).receiveFrame();
  EXPECT_TRUE(frame.value().payload == bytes);
}

TEST_F(ScriptedHelperTest, AnErrorArrivesAsAnErrorFrame) {
  start("currentState: error The helper is busy.\n");
  EXPECT_EQ(clientWith(status).receiveFrame(), (Frame{FrameKind::error, "The helper is busy."}));
}

TEST_F(ScriptedHelperTest, SilenceKeepsTheConnectionOpen) {
  start("currentState: silent\n");
  EXPECT_TRUE(clientWith(status).staysQuiet(300ms));
}

TEST_F(ScriptedHelperTest, CloseSendsNothing) {
  start("currentState: close\n");
  EXPECT_EQ(clientWith(status).receiveToEnd(), "");
}

TEST_F(ScriptedHelperTest, ADelayPassesBeforeTheReply) {
  start("currentState: delay 0.2 reply late\n");
  const auto begin = SteadyClock::now();
  EXPECT_EQ(clientWith(status).receiveFrame(), replyFrame("late"));
  EXPECT_GE(SteadyClock::now() - begin, 200ms);
}

TEST_F(ScriptedHelperTest, ADelayPassesBeforeAClose) {
  start("currentState: delay 0.2 close\n");
  const auto begin = SteadyClock::now();
  EXPECT_EQ(clientWith(status).receiveToEnd(), "");
  EXPECT_GE(SteadyClock::now() - begin, 200ms);
}

TEST_F(ScriptedHelperTest, ATruncatedFrameEndsTheConnection) {
  start("currentState: truncate 15 reply {\"mode\":\"idle\"}\n");
  EXPECT_EQ(clientWith(status).receiveToEnd(),
            encodeFrame(replyFrame("{\"mode\":\"idle\"}")).substr(0, 15));
}

TEST_F(ScriptedHelperTest, TheHeaderCanBeTruncatedToo) {
  start("currentState: truncate 3 error x\n");
  EXPECT_EQ(clientWith(status).receiveToEnd(), encodeFrame({FrameKind::error, "x"}).substr(0, 3));
}

TEST_F(ScriptedHelperTest, ATruncationToNothingSendsNothing) {
  start("currentState: truncate 0 reply x\n");
  EXPECT_EQ(clientWith(status).receiveToEnd(), "");
}

TEST_F(ScriptedHelperTest, ATruncationBeyondTheFrameEndsTheConnectionAfterIt) {
  start("currentState: truncate 1000 reply x\n");
  EXPECT_EQ(clientWith(status).receiveToEnd(), encodeFrame(replyFrame("x")));
}

TEST_F(ScriptedHelperTest, ATrickleSendsOneByteAtATime) {
  start("currentState: trickle 60000 reply abc\n");
  auto client = clientWith(status);
  EXPECT_TRUE(client.receiveByte());
  EXPECT_TRUE(client.staysQuiet(100ms));
}

TEST_F(ScriptedHelperTest, ATrickledFrameArrivesWholeInItsTime) {
  start("currentState: trickle 10 reply abc\n");
  const auto begin = SteadyClock::now();
  EXPECT_EQ(clientWith(status).receiveFrame(), replyFrame("abc"));
  EXPECT_GE(SteadyClock::now() - begin, 10ms * (frameHeaderSize + 2));
}

TEST_F(ScriptedHelperTest, ATrickleWithoutAPauseArrivesWhole) {
  start("currentState: trickle 0 reply abc\n");
  EXPECT_EQ(clientWith(status).receiveFrame(), replyFrame("abc"));
}

TEST_F(ScriptedHelperTest, ActionsCompose) {
  start("currentState: delay 0.1 trickle 2 truncate 20 reply 0123456789\n");
  const auto begin = SteadyClock::now();
  EXPECT_EQ(clientWith(status).receiveToEnd(), encodeFrame(replyFrame("0123456789")).substr(0, 20));
  EXPECT_GE(SteadyClock::now() - begin, 100ms + 2ms * 19);
}

TEST_F(ScriptedHelperTest, DirectivesTakeTurnsAcrossClients) {
  start("currentState: reply first\ncurrentState: reply second\n");
  EXPECT_EQ(clientWith(status).receiveFrame(), replyFrame("first"));
  EXPECT_EQ(clientWith(status).receiveFrame(), replyFrame("second"));
  EXPECT_EQ(clientWith(status).receiveFrame(), replyFrame("second"));
}

TEST_F(ScriptedHelperTest, AMethodWithoutADirectiveIsSimulated) {
  start("currentState: silent\n");
  const auto frame = clientWith(mute).receiveFrame();
  EXPECT_TRUE(JSONDecoder{}.decode<OperationResult>(frame.value().payload).success);
}

TEST_F(ScriptedHelperTest, SlowAnswersDoNotKeepOtherClientsWaiting) {
  start("currentState: trickle 60000 reply slow\nmuteMic: reply quick\nunmuteMic: silent\n");
  auto trickled = clientWith(status);
  auto silent = clientWith({HelperMethod::unmuteMic, NoArgument{}});
  EXPECT_TRUE(trickled.receiveByte());
  EXPECT_EQ(clientWith(mute).receiveFrame(), replyFrame("quick"));
}

TEST_F(ScriptedHelperTest, MessagesOfOneClientAreAnsweredInTurn) {
  start("currentState: delay 0.1 reply slow\nmuteMic: reply quick\n");
  auto client = clientWith(status);
  client.sendMessage(mute);
  EXPECT_EQ(client.receiveFrame(), replyFrame("slow"));
  EXPECT_EQ(client.receiveFrame(), replyFrame("quick"));
}

TEST_F(ScriptedHelperTest, AClientMayFinishSendingBeforeItsAnswer) {
  start("currentState: delay 0.1 reply late\n");
  auto client = clientWith(status);
  client.finishSending();
  EXPECT_EQ(client.receiveFrame(), replyFrame("late"));
}

TEST_F(ScriptedHelperTest, ClientsThatHangUpLeaveNothingBehind) {
  start(
      "currentState: delay 86400 reply never\nmuteMic: trickle 60000 reply never\n"
      "unmuteMic: silent\nrestoreAll: reply alive\n");
  // More than are served at a time: each must have made room for another one.
  for (int i = 0; i < 1000; ++i) {
    clientWith(status);
    clientWith(mute);
    clientWith({HelperMethod::unmuteMic, NoArgument{}});
  }
  EXPECT_EQ(clientWith({HelperMethod::restoreAll, NoArgument{}}).receiveFrame(),
            replyFrame("alive"));
}

TEST_F(ScriptedHelperTest, AClientThatHangsUpDuringALargeReplyDoesNoHarm) {
  const auto path = directory_.path() + "/reply";
  std::ofstream(path, std::ios::binary) << std::string(8'000'000, 'x');
  start("currentState: reply-file " + path + "\nmuteMic: reply alive\n");
  for (int i = 0; i < 10; ++i) clientWith(status).receiveByte();
  EXPECT_EQ(clientWith(mute).receiveFrame(), replyFrame("alive"));
}

TEST_F(ScriptedHelperTest, AnUnusableScriptIsOneLineAndStatus2) {
  const auto path = directory_.path() + "/script";
  std::ofstream(path) << "# fine\ncurrentState: shout\n";
  const auto result = runProgram(helperArguments(service_.text(), {"--script", path}));
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.standardOutput, "");
  EXPECT_EQ(result.standardError, "blindfold-devhelper: " + path + ":2: unknown action 'shout'\n");
}

TEST_F(ScriptedHelperTest, AMissingScriptIsOneLineAndStatus2) {
  const auto result = runProgram(helperArguments(service_.text(), {"--script", "/nonexistent"}));
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.standardError,
            "blindfold-devhelper: cannot read '/nonexistent': No such file or directory\n");
}
}  // namespace
}  // namespace blindfold
