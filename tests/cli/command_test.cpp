#include "blindfold/cli/command.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "blindfold/helperclient/request.h"
#include "blindfold/helperclient/task_run.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/json/json_decoder.h"
#include "tests/support/fake_platform.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
const std::string usageText =
    "usage: blindfoldctl "
    "[status|detect|hold-built-in|release|restore|renew <lease-id>|mute|unmute]\n";

const Bytes idleState = R"({"heldTargets":[],"micMuted":false,"mode":"idle"})";
const Bytes done = R"({"message":"Done.","success":true})";
const Bytes detected =
    R"({"cameras":[{"id":"CAM","isConnected":true,"isExperimental":false,)"
    R"("isInUseByAnotherApplication":false,"isSuspended":false,"kind":"builtIn",)"
    R"("localizedName":"Front Camera","modelID":"M","transportType":"builtIn",)"
    R"("uniqueID":"CAM"}],"notes":["a note"],"resolvedTargets":[{"controlMode":"sigstop",)"
    R"("domain":"system","label":"com.apple.appleh13camerad","pid":512,"priority":0}],)"
    R"("selectedCameraID":"CAM","serviceStates":[{"domain":"system",)"
    R"("label":"com.apple.appleh13camerad","pid":512}]})";

using Answers = std::map<HelperMethod, Bytes>;

/// A helper that knows every answer.
const Answers helpful{{HelperMethod::detectTargets, detected},
                      {HelperMethod::hold, done},
                      {HelperMethod::renew, done},
                      {HelperMethod::release, done},
                      {HelperMethod::restoreAll, done},
                      {HelperMethod::muteMic, done},
                      {HelperMethod::unmuteMic, done},
                      {HelperMethod::currentState, idleState}};

std::string describeArgument(const MessageArgument& argument) {
  if (const auto* data = std::get_if<DataArgument>(&argument)) return " data " + data->bytes;
  if (const auto* text = std::get_if<TextArgument>(&argument)) {
    return text->text ? " text <" + *text->text + ">" : " absent";
  }
  return "";
}

/// One run of the command in a child process.
struct CommandRun {
  ProgramResult result;
  /// The messages that the helper received, one a line.
  std::string sent;
  /// The time limits of these messages, one a line ("5 s").
  std::string limits;
};

std::string readFile(const std::string& path) {
  std::ostringstream contents;
  contents << std::ifstream(path).rdbuf();
  return contents.str();
}

/// The time limits that were scheduled, one a line.
std::string limitsIn(const CallLog& log) {
  const std::string schedule = "schedule the time limit in ";
  std::string limits;
  for (const std::string& call : log.calls()) {
    if (call.starts_with(schedule)) limits += call.substr(schedule.size()) + "\n";
  }
  return limits;
}

class CommandTest : public testing::Test {
 protected:
  CommandRun run(const std::vector<const char*>& arguments, const Answers& answers = helpful,
                 bool installed = true) const {
    const std::string& record = directory_.path();
    CommandRun run;
    run.result = runInChild([&] { runCommandAgainst(answers, arguments, record, installed); });
    run.sent = readFile(record + "/sent");
    run.limits = readFile(record + "/limits");
    return run;
  }

 private:
  /// Ends the process as the command does; aborts when the command waits for what never comes.
  [[noreturn]] static void runCommandAgainst(const Answers& answers,
                                             const std::vector<const char*>& arguments,
                                             const std::string& record, bool installed) {
    FakePlatform fake;
    if (!installed) fake.files.executables.clear();
    std::ofstream sent(record + "/sent", std::ios::trunc);
    HelperClient client(std::make_shared<const HelperClientState>(
        /*skipPrecheck=*/true, fake.platform, fake.settings));
    spawnOn(fake.mainLoop, runCommand(client, commandArguments(static_cast<int>(arguments.size()),
                                                               arguments.data())));
    for (std::size_t answered = 0;; ++answered) {
      fake.mainLoop.runUntilIdle();
      if (answered == fake.connections.connections().size()) std::abort();
      const auto connection = fake.connections.connections()[answered];
      const HelperMessage message = *connection->message();
      sent << describe(message.method).selector << describeArgument(message.argument) << std::endl;
      std::ofstream(record + "/limits") << limitsIn(fake.log);
      connection->reply(answers.at(message.method));
    }
  }

  TemporaryDirectory directory_;
};

// The command word.

TEST_F(CommandTest, WithoutAnyArgumentTheStatusIsPrinted) {
  for (const std::vector<const char*>& arguments :
       {std::vector<const char*>{}, std::vector<const char*>{"blindfoldctl"}}) {
    const CommandRun run = this->run(arguments);
    EXPECT_EQ(run.result.exitStatus, 0);
    EXPECT_EQ(run.result.standardOutput, idleState + "\n");
    EXPECT_EQ(run.sent, "currentState:\n");
  }
}

TEST_F(CommandTest, FurtherWordsBehindAnyCommandAreIgnored) {
  for (const char* word :
       {"status", "detect", "hold-built-in", "release", "restore", "mute", "unmute"}) {
    const CommandRun alone = run({"blindfoldctl", word});
    for (const char* further : {"mute", "--help", "", "LEASE"}) {
      const CommandRun followed = run({"blindfoldctl", word, further, "more"});
      EXPECT_EQ(followed.result.exitStatus, 0) << word << ' ' << further;
      EXPECT_EQ(followed.result.standardOutput, alone.result.standardOutput) << word;
      EXPECT_EQ(followed.result.standardError, "") << word;
      EXPECT_EQ(followed.sent, alone.sent) << word;
    }
  }
}

TEST_F(CommandTest, AnUnknownWordIsAnsweredByTheUsageAndTheHelperIsLeftAlone) {
  for (const char* word : {"Status", "", " status", "statu", "statuss", "--help", "detect\n"}) {
    const CommandRun run = this->run({"blindfoldctl", word});
    EXPECT_EQ(run.result.exitStatus, 64) << word;
    EXPECT_EQ(run.result.standardError, usageText) << word;
    EXPECT_EQ(run.result.standardOutput, "") << word;
    EXPECT_EQ(run.sent, "") << word;
  }
}

// Each command.

TEST_F(CommandTest, EachSimpleCommandSendsItsOneMessageAndPrintsTheResult) {
  const std::map<std::string, std::string> messages{
      {"release", "release:withReply: absent\n"},
      {"restore", "restoreAll:\n"},
      {"mute", "muteMic:\n"},
      {"unmute", "unmuteMic:\n"},
  };
  for (const auto& [word, message] : messages) {
    const CommandRun run = this->run({"blindfoldctl", word.c_str()});
    EXPECT_EQ(run.sent, message);
    EXPECT_EQ(run.result.standardOutput, done + "\n") << word;
    EXPECT_EQ(run.result.standardError, "") << word;
    EXPECT_EQ(run.result.exitStatus, 0) << word;
  }
}

TEST_F(CommandTest, ReleaseNeverNamesALease) {
  EXPECT_EQ(run({"blindfoldctl", "release", "LEASE"}).sent, "release:withReply: absent\n");
}

TEST_F(CommandTest, RenewPassesItsFirstArgumentOnAsItIs) {
  EXPECT_EQ(run({"blindfoldctl", "renew", "LEASE", "OTHER"}).sent,
            "renew:withReply: text <LEASE>\n");
  EXPECT_EQ(run({"blindfoldctl", "renew", ""}).sent, "renew:withReply: text <>\n");
  EXPECT_EQ(run({"blindfoldctl", "renew", " a b "}).sent, "renew:withReply: text < a b >\n");
  EXPECT_EQ(run({"blindfoldctl", "renew", "-1"}).sent, "renew:withReply: text <-1>\n");
  EXPECT_EQ(run({"blindfoldctl", "renew", "--help"}).sent, "renew:withReply: text <--help>\n");
}

TEST_F(CommandTest, RenewWithoutALeaseIsRefusedAndTheHelperIsLeftAlone) {
  const CommandRun run = this->run({"blindfoldctl", "renew"});
  EXPECT_EQ(run.result.exitStatus, 1);
  EXPECT_EQ(run.result.standardError, "usage: blindfoldctl renew <lease-id>\n");
  EXPECT_EQ(run.result.standardOutput, "");
  EXPECT_EQ(run.sent, "");
}

TEST_F(CommandTest, DetectPrintsTheDetectionAgain) {
  const CommandRun run = this->run({"blindfoldctl", "detect"});
  EXPECT_EQ(run.sent, "detectTargets:\n");
  EXPECT_EQ(run.result.standardOutput, detected + "\n");
  EXPECT_EQ(run.result.exitStatus, 0);
}

TEST_F(CommandTest, DetectPrintsTheRecordsOfTheReplyAndNotTheReply) {
  const CommandRun run =
      this->run({"blindfoldctl", "detect"},
                {{HelperMethod::detectTargets,
                  R"({ "serviceStates": [], "notes": ["a/b"], "cameras": [], "extra": 1,)"
                  "\n"
                  R"("selectedCameraID": null, "resolvedTargets": [] })"}});
  EXPECT_EQ(run.result.standardOutput,
            R"({"cameras":[],"notes":["a\/b"],"resolvedTargets":[],"serviceStates":[]})"
            "\n");
}

TEST_F(CommandTest, RequestsThatOnlyReadHaveFiveSecondsAndTheOthersTwelve) {
  for (const char* word : {"status", "detect"}) {
    EXPECT_EQ(run({"blindfoldctl", word}).limits, "5 s\n") << word;
  }
  EXPECT_EQ(run({"blindfoldctl", "hold-built-in"}).limits, "5 s\n12 s\n");
  for (const char* word : {"release", "restore", "renew", "mute", "unmute"}) {
    EXPECT_EQ(run({"blindfoldctl", word, "LEASE"}).limits, "12 s\n") << word;
  }
}

TEST_F(CommandTest, HoldBuiltInDetectsThenHoldsAndPrintsTheHoldsResult) {
  const CommandRun run = this->run({"blindfoldctl", "hold-built-in"});
  EXPECT_EQ(run.sent,
            "detectTargets:\nhold:withReply: data "
            R"({"cameraID":"CAM","captureWasActiveAtRequestTime":true,"correlationSnapshot":)"
            R"({"com.apple.appleh13camerad":512},"durationHint":30,"kind":"builtIn","targets":)"
            R"([{"controlMode":"sigstop","domain":"system","label":"com.apple.appleh13camerad",)"
            R"("pid":512,"priority":0}]})"
            "\n");
  EXPECT_EQ(run.result.standardOutput, done + "\n");
  EXPECT_EQ(run.result.exitStatus, 0);
}

// How commands fail.

TEST_F(CommandTest, AnUnsuccessfulResultIsPrintedAndTheStatusIsZero) {
  const Bytes refused = R"({"message":"Nothing is held.","success":false})";
  const CommandRun run =
      this->run({"blindfoldctl", "restore"}, {{HelperMethod::restoreAll, refused}});
  EXPECT_EQ(run.result.standardOutput, refused + "\n");
  EXPECT_EQ(run.result.exitStatus, 0);
}

TEST_F(CommandTest, AnUnsuccessfulResultOfAnyCommandIsPrintedAndTheStatusIsZero) {
  const Bytes refused = R"({"message":"No.","success":false})";
  const Answers unsuccessful{
      {HelperMethod::detectTargets, detected}, {HelperMethod::hold, refused},
      {HelperMethod::renew, refused},          {HelperMethod::release, refused},
      {HelperMethod::restoreAll, refused},     {HelperMethod::muteMic, refused},
      {HelperMethod::unmuteMic, refused}};
  for (const char* word : {"hold-built-in", "renew", "release", "restore", "mute", "unmute"}) {
    const CommandRun run = this->run({"blindfoldctl", word, "LEASE"}, unsuccessful);
    EXPECT_EQ(run.result.standardOutput, refused + "\n") << word;
    EXPECT_EQ(run.result.standardError, "") << word;
    EXPECT_EQ(run.result.exitStatus, 0) << word;
  }
}

TEST_F(CommandTest, WithoutAnInstalledHelperEveryCommandSaysSo) {
  for (const char* word : {"status", "detect", "hold-built-in", "release", "restore", "mute"}) {
    const CommandRun run = this->run({"blindfoldctl", word}, helpful, /*installed=*/false);
    EXPECT_EQ(run.result.exitStatus, 1) << word;
    EXPECT_EQ(run.result.standardError, "Protection service is not set up.\n") << word;
    EXPECT_EQ(run.result.standardOutput, "") << word;
  }
}

TEST_F(CommandTest, ADetectionThatDoesNotDecodeSendsNoHold) {
  const CommandRun run = this->run({"blindfoldctl", "hold-built-in"},
                                   {{HelperMethod::detectTargets, R"({"cameras":[]})"}});
  EXPECT_EQ(run.sent, "detectTargets:\n");
  EXPECT_EQ(run.result.exitStatus, 1);
  EXPECT_EQ(run.result.standardOutput, "");
  EXPECT_NE(run.result.standardError.find("resolvedTargets"), std::string::npos)
      << run.result.standardError;
}

TEST_F(CommandTest, TheNotesOfADetectionDoNotMatterToAHold) {
  Bytes other = detected;
  const Bytes notes = R"(["a note"])";
  other.replace(other.find(notes), notes.size(), R"(["No camera.","error: true","","a","b"])");
  const CommandRun run =
      this->run({"blindfoldctl", "hold-built-in"},
                {{HelperMethod::detectTargets, other}, {HelperMethod::hold, done}});
  EXPECT_EQ(run.sent, this->run({"blindfoldctl", "hold-built-in"}).sent);
}

TEST_F(CommandTest, ADetectionThatAllowsNoHoldSendsNone) {
  const CommandRun run =
      this->run({"blindfoldctl", "hold-built-in"},
                {{HelperMethod::detectTargets,
                  R"({"cameras":[],"notes":[],"resolvedTargets":[],"serviceStates":[]})"}});
  EXPECT_EQ(run.sent, "detectTargets:\n");
  EXPECT_EQ(run.result.exitStatus, 1);
  EXPECT_EQ(run.result.standardError, "No camera detected.\n");
}

// The arguments.

TEST(CommandArgumentsTest, TheProgramsPathIsDropped) {
  const char* const arguments[] = {"/bin/blindfoldctl", "renew", "x"};
  EXPECT_EQ(commandArguments(3, arguments), (CommandArguments{"renew", "x"}));
}

TEST(CommandArgumentsTest, NoArgumentsAtAllAreNone) {
  EXPECT_EQ(commandArguments(0, nullptr), CommandArguments{});
}

TEST(CommandArgumentsTest, BytesThatAreNotUTF8AreReplaced) {
  const char* const arguments[] = {"blindfoldctl", "a\xff"};
  EXPECT_EQ(commandArguments(2, arguments), CommandArguments{"a\xef\xbf\xbd"});
}
}  // namespace
}  // namespace blindfold
