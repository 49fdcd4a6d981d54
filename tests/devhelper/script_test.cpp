#include "devhelper/script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>

#include "blindfold/platform/platform_error.h"
#include "devhelper/messages.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
using namespace std::chrono_literals;
using testing::HasSubstr;

/// The answer that a script of the one directive `hold:withReply: ACTION` gives.
Answer answerOf(const std::string& action) {
  return Script("hold:withReply: " + action, "s").next(HelperMethod::hold).value();
}

std::string refusal(const std::string& text) {
  try {
    const Script script(text, "s");
  } catch (const UsageError& error) {
    return error.what();
  }
  return "(accepted)";
}

/// The error of `hold:withReply: ACTION`.
std::string refusalOf(const std::string& action) {
  const std::string place = "s:1: ";
  const auto text = refusal("hold:withReply: " + action);
  return text.starts_with(place) ? text.substr(place.size()) : text;
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

TEST(ScriptTest, AMethodWithoutADirectiveHasNoAnswer) {
  Script script("hold:withReply: silent\n", "s");
  EXPECT_EQ(script.next(HelperMethod::renew), std::nullopt);
}

TEST(ScriptTest, EverySelectorOfTheProtocolIsKnown) {
  for (const auto& row : helperProtocol) {
    Script script(std::string(row.selector) + " close", "s");
    EXPECT_EQ(script.next(row.method), Answer{.ending = Answer::Ending::close});
  }
}

TEST(ScriptTest, DirectivesOfAMethodTakeTurnsAndTheLastOneRepeats) {
  Script script("muteMic: reply a\nunmuteMic: reply x\nmuteMic: reply b\n", "s");
  EXPECT_EQ(script.next(HelperMethod::muteMic).value().bytes.view(), "a");
  EXPECT_EQ(script.next(HelperMethod::muteMic).value().bytes.view(), "b");
  EXPECT_EQ(script.next(HelperMethod::unmuteMic).value().bytes.view(), "x");
  EXPECT_EQ(script.next(HelperMethod::muteMic).value().bytes.view(), "b");
}

TEST(ScriptTest, BlankLinesAndCommentsAreSkipped) {
  Script script("\n  \t\n# hold:withReply: reply no\n  # nor this\nhold:withReply: reply yes", "s");
  EXPECT_EQ(script.next(HelperMethod::hold).value().bytes.view(), "yes");
}

TEST(ScriptTest, AnEmptyScriptIsFine) {
  Script script("", "s");
  EXPECT_EQ(script.next(HelperMethod::hold), std::nullopt);
}

TEST(ScriptTest, SeveralBlanksMaySeparateWords) {
  EXPECT_EQ(refusal(" \thold:withReply:  \t delay   1 \tsilent  "), "(accepted)");
}

TEST(ScriptTest, AReplyIsTheRestOfTheLineAfterOneBlank) {
  EXPECT_EQ(answerOf(R"(reply {"a": 1} # no comment )").bytes.view(), R"({"a": 1} # no comment )");
  EXPECT_EQ(answerOf("reply  two blanks").bytes.view(), " two blanks");
  EXPECT_EQ(answerOf("reply\tafter a tab").bytes.view(), "after a tab");
}

TEST(ScriptTest, AReplyMayBeEmpty) {
  EXPECT_EQ(answerOf("reply").bytes.view(), "");
  EXPECT_EQ(answerOf("reply ").bytes.view(), "");
}

TEST(ScriptTest, AReplyIsBytesAndNotText) {
  const std::string bytes("\xff\0\r\x01", 4);
  EXPECT_EQ(answerOf("reply " + bytes).bytes.view(), bytes);
}

TEST(ScriptTest, AnErrorCarriesItsText) {
  EXPECT_EQ(answerOf("error The helper is busy."),
            (Answer{.ending = Answer::Ending::error, .bytes = Bytes("The helper is busy.")}));
}

TEST(ScriptTest, SilentAndCloseStandAlone) {
  EXPECT_EQ(answerOf("silent"), Answer{.ending = Answer::Ending::silence});
  EXPECT_EQ(answerOf("close "), Answer{.ending = Answer::Ending::close});
}

TEST(ScriptTest, ModifiersNestAroundAReply) {
  EXPECT_EQ(answerOf("delay 0.2 trickle 5 truncate 40 reply {...}"),
            (Answer{.bytes = Bytes("{...}"), .delay = 200ms, .truncation = 40, .trickle = 5ms}));
}

TEST(ScriptTest, ModifiersNestInAnyOrder) {
  EXPECT_EQ(answerOf("truncate 40 delay 0.2 trickle 5 error x"),
            answerOf("trickle 5 truncate 40 delay 0.2 error x"));
}

TEST(ScriptTest, DelaysAddUp) {
  EXPECT_EQ(answerOf("delay 1 delay .5 silent").delay, 1500ms);
}

TEST(ScriptTest, TheShortestTruncationCounts) {
  EXPECT_EQ(answerOf("truncate 5 truncate 3 reply").truncation, 3);
  EXPECT_EQ(answerOf("truncate 3 truncate 5 reply").truncation, 3);
}

TEST(ScriptTest, TheSlowestTrickleCounts) {
  EXPECT_EQ(answerOf("trickle 5 trickle 3 reply").trickle, 5ms);
  EXPECT_EQ(answerOf("trickle 3 trickle 5 reply").trickle, 5ms);
}

TEST(ScriptTest, ADelayMayComeBeforeWhatSendsNoFrame) {
  EXPECT_EQ(answerOf("delay 1 close"), (Answer{.ending = Answer::Ending::close, .delay = 1s}));
  EXPECT_EQ(answerOf("delay 1 silent"), (Answer{.ending = Answer::Ending::silence, .delay = 1s}));
}

TEST(ScriptTest, WhatSendsNoFrameCannotBeTruncatedOrTrickled) {
  for (const auto* action : {"truncate 5 silent", "truncate 0 close", "trickle 1 close",
                             "trickle 0 silent", "truncate 5 delay 1 silent"}) {
    EXPECT_EQ(refusalOf(action), "there is no frame to truncate or to trickle") << action;
  }
}

TEST(ScriptTest, AReplyFileIsReadWithTheScript) {
  const TemporaryDirectory directory;
  const auto path = directory.path() + "/a reply.json";
  const std::string bytes("{\n}\0", 4);
  writeFile(path, bytes);
  Script script("hold:withReply: reply-file " + path, "s");
  writeFile(path, "changed since");
  EXPECT_EQ(script.next(HelperMethod::hold), (Answer{.bytes = bytes}));
}

TEST(ScriptTest, AMissingReplyFileIsRefused) {
  EXPECT_EQ(refusalOf("reply-file /nonexistent"),
            "cannot read '/nonexistent': No such file or directory");
}

TEST(ScriptTest, AReplyFileThatIsADirectoryIsRefused) {
  EXPECT_EQ(refusalOf("reply-file /tmp"), "cannot read '/tmp': Is a directory");
}

TEST(ScriptTest, AReplyFileThatNoFrameCanCarryIsRefused) {
  EXPECT_EQ(refusalOf("reply-file /dev/zero"), "'/dev/zero' is too large");
}

TEST(ScriptTest, AReplyFileNeedsAPath) {
  EXPECT_EQ(refusalOf("reply-file"), "a path is missing");
  EXPECT_EQ(refusalOf("reply-file "), "a path is missing");
}

TEST(ScriptTest, AReplyThatNoFrameCanCarryIsRefused) {
  EXPECT_EQ(refusalOf("reply " + std::string(maximumAnswerSize + 1, 'x')),
            "that is more than a frame can carry");
}

TEST(ScriptTest, AnUnknownSelectorIsRefused) {
  EXPECT_EQ(refusal("hold: silent"), "s:1: unknown selector 'hold:'");
  EXPECT_EQ(refusal("Hold:withReply: silent"), "s:1: unknown selector 'Hold:withReply:'");
}

TEST(ScriptTest, AnUnknownActionIsRefused) {
  EXPECT_EQ(refusalOf("Reply x"), "unknown action 'Reply'");
  EXPECT_EQ(refusalOf("delay 1 sleep"), "unknown action 'sleep'");
  EXPECT_EQ(refusalOf("silent\r"), "unknown action 'silent '");
}

TEST(ScriptTest, AMissingActionIsRefused) {
  EXPECT_EQ(refusalOf(""), "an action is missing");
  EXPECT_EQ(refusalOf("delay 1 "), "an action is missing");
}

TEST(ScriptTest, WordsAfterSilentAndCloseAreRefused) {
  EXPECT_EQ(refusalOf("silent please"), "nothing can follow here: 'please'");
  EXPECT_EQ(refusalOf("close # now"), "nothing can follow here: '# now'");
}

TEST(ScriptTest, OperandsThatAreNoNumbersAreRefused) {
  EXPECT_EQ(refusalOf("delay -1 silent"), "'-1' is not a usable number of seconds");
  EXPECT_EQ(refusalOf("delay"), "'' is not a usable number of seconds");
  EXPECT_EQ(refusalOf("truncate 1.5 reply"), "'1.5' is not a usable number of bytes");
  EXPECT_EQ(refusalOf("trickle soon reply"), "'soon' is not a usable number of milliseconds");
}

TEST(ScriptTest, ADelayIsExactToTheNanosecond) {
  EXPECT_EQ(answerOf("delay 0 silent").delay, 0ns);
  EXPECT_EQ(answerOf("delay 0.25 silent").delay, 250ms);
  EXPECT_EQ(answerOf("delay 1.000000001 silent").delay, 1s + 1ns);
  EXPECT_EQ(answerOf("delay 0.0000000019 silent").delay, 1ns);
}

TEST(ScriptTest, ADelayMayLackEitherSideOfItsPoint) {
  EXPECT_EQ(answerOf("delay .5 silent").delay, 500ms);
  EXPECT_EQ(answerOf("delay 3. silent").delay, 3s);
}

TEST(ScriptTest, ADelayThatIsNoDecimalNumberIsRefused) {
  for (const std::string operand : {".", "+1", "-1", "1e3", "1,5", "0x1", "inf", "nan", "1.2.3",
                                    "1s", "18446744073709551616"}) {
    EXPECT_EQ(refusalOf("delay " + operand + " silent"),
              "'" + operand + "' is not a usable number of seconds");
  }
}

TEST(ScriptTest, ACountIsDecimalDigitsAndNothingElse) {
  EXPECT_EQ(answerOf("truncate 007 reply").truncation, 7);
  for (const std::string operand : {"+1", "-1", "0x1", "1k", "18446744073709551616"}) {
    EXPECT_EQ(refusalOf("truncate " + operand + " reply"),
              "'" + operand + "' is not a usable number of bytes");
  }
}

TEST(ScriptTest, AnswersShareTheirBytesWithTheScript) {
  Script script("muteMic: reply a\n", "s");
  EXPECT_TRUE(script.next(HelperMethod::muteMic).value().bytes.isShared());
}

TEST(ScriptTest, OperandsReachTheirBoundsAndNoFurther) {
  EXPECT_EQ(answerOf("delay 86400 silent").delay, maximumScriptedDelay);
  EXPECT_THAT(refusalOf("delay 86400.1 silent"), HasSubstr("number of seconds"));
  EXPECT_THAT(refusalOf("delay 86400 delay 1 silent"), HasSubstr("number of seconds"));
  EXPECT_EQ(answerOf("trickle 60000 reply").trickle, maximumTrickleInterval);
  EXPECT_THAT(refusalOf("trickle 60001 reply"), HasSubstr("number of milliseconds"));
  EXPECT_EQ(answerOf("truncate " + std::to_string(maximumTruncation) + " reply").truncation,
            maximumTruncation);
  EXPECT_THAT(refusalOf("truncate " + std::to_string(maximumTruncation + 1) + " reply"),
              HasSubstr("number of bytes"));
}

TEST(ScriptTest, ARefusalNamesItsLine) {
  EXPECT_EQ(refusal("# one\n\nmuteMic: silent\nmuteMic: nothing\nmuteMic: worse\n"),
            "s:4: unknown action 'nothing'");
}

TEST(ScriptTest, ARefusalIsOneLineWhateverTheScript) {
  EXPECT_EQ(refusal("a\rb\x1b\xff close"), "s:1: unknown selector 'a b\\u001b\xEF\xBF\xBD'");
  EXPECT_LT(refusal(std::string(1'000'000, 'x')).size(), 200);
}

TEST(ScriptTest, AHundredThousandNestedActionsAreRead) {
  std::string action;
  for (int i = 0; i < 100'000; ++i) action += "trickle 1 ";
  EXPECT_EQ(answerOf(action + "reply x").trickle, 1ms);
}

TEST(ScriptTest, AHundredThousandLinesAreRead) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) text += "muteMic: reply " + std::to_string(i) + "\n";
  Script script(text, "s");
  script.next(HelperMethod::muteMic);
  EXPECT_EQ(script.next(HelperMethod::muteMic).value().bytes.view(), "1");
}

TEST(ScriptTest, AScriptFileIsReadByItsPath) {
  const TemporaryDirectory directory;
  const auto path = directory.path() + "/script";
  writeFile(path, "muteMic: reply from a file\n");
  EXPECT_EQ(Script::read(path).next(HelperMethod::muteMic).value().bytes.view(), "from a file");
}

TEST(ScriptTest, AScriptFileThatCannotBeReadIsRefused) {
  EXPECT_THROW(Script::read("/nonexistent"), UsageError);
}

TEST(ScriptTest, HasTheActionsThatXPCCanCarryOut) {
  Script script("currentState: delay 1.5 reply {}\ncurrentState: silent\ncurrentState: close\n",
                "s", Carrier::messages);
  EXPECT_EQ(script.next(HelperMethod::currentState),
            (Answer{.bytes = Bytes("{}"), .delay = std::chrono::milliseconds(1500)}));
  EXPECT_EQ(script.next(HelperMethod::currentState)->ending, Answer::Ending::silence);
  EXPECT_EQ(script.next(HelperMethod::currentState)->ending, Answer::Ending::close);
}

TEST(ScriptTest, RefusesTheActionsThatXPCCannotCarryOut) {
  for (const std::string action :
       {"truncate 3 reply {}", "trickle 5 reply {}", "error no", "delay 1 truncate 3 reply {}"}) {
    EXPECT_THROW(Script("muteMic: " + action, "s", Carrier::messages), UsageError) << action;
    EXPECT_NO_THROW(Script("muteMic: " + action, "s", Carrier::frames)) << action;
  }
}
}  // namespace
}  // namespace blindfold
