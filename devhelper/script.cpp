#include "devhelper/script.h"

#include <algorithm>
#include <utility>

#include "blindfold/platform/platform_error.h"
#include "blindfold/text/one_line.h"
#include "devhelper/file_contents.h"
#include "devhelper/number.h"
#include "devhelper/quoted.h"
#include "devhelper/usage_error.h"

namespace blindfold {
namespace {

constexpr std::string_view blanks = " \t";

/// The part of a line that is still to be read.
class LineReader {
 public:
  explicit LineReader(std::string_view line) : rest_(line) { skipBlanks(); }

  bool isAtEnd() const { return rest_.empty(); }
  bool isAtComment() const { return rest_.starts_with('#'); }

  /// The next word, up to a blank that stays; empty at the end of the line.
  std::string_view takeWord() {
    skipBlanks();
    const auto word = rest_.substr(0, rest_.find_first_of(blanks));
    rest_.remove_prefix(word.size());
    return word;
  }

  /// Everything after the one blank that ends the word before it.
  std::string_view takeRest() {
    const auto rest = rest_.substr(std::min<std::size_t>(1, rest_.size()));
    rest_ = {};
    return rest;
  }

  void expectEnd() {
    skipBlanks();
    if (!isAtEnd()) throw UsageError("nothing can follow here: " + quoted(rest_));
  }

 private:
  void skipBlanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(blanks), rest_.size()));
  }

  std::string_view rest_;
};

void finish(Answer& answer, Answer::Ending ending, Bytes bytes) {
  if (bytes.size() > maximumFramePayload) {
    throw UsageError("that is more than a frame can carry");
  }
  answer.ending = ending;
  answer.bytes = std::move(bytes);
}

void readReply(LineReader& line, Answer& answer) {
  finish(answer, Answer::Ending::reply, Bytes(line.takeRest()));
}

void readReplyFile(LineReader& line, Answer& answer) {
  const std::string path(line.takeRest());
  if (path.empty()) throw UsageError("a path is missing");
  finish(answer, Answer::Ending::reply, readFile(path, maximumFramePayload));
}

void readError(LineReader& line, Answer& answer) {
  finish(answer, Answer::Ending::error, Bytes(line.takeRest()));
}

/// `silent` and `close`: what sends no frame leaves nothing to cut or to slow down.
void finishWithoutFrame(LineReader& line, Answer& answer, Answer::Ending ending) {
  line.expectEnd();
  if (answer.truncation || answer.trickle) {
    throw UsageError("there is no frame to truncate or to trickle");
  }
  finish(answer, ending, {});
}

void readSilent(LineReader& line, Answer& answer) {
  finishWithoutFrame(line, answer, Answer::Ending::silence);
}

void readClose(LineReader& line, Answer& answer) {
  finishWithoutFrame(line, answer, Answer::Ending::close);
}

void readDelay(LineReader& line, Answer& answer) {
  const auto operand = line.takeWord();
  const auto seconds = parseSeconds(operand, maximumScriptedDelay);
  if (!seconds || answer.delay + *seconds > maximumScriptedDelay) {
    throw UsageError(quoted(operand) + " is not a usable number of seconds");
  }
  answer.delay += *seconds;
}

void readTruncate(LineReader& line, Answer& answer) {
  const auto operand = line.takeWord();
  const auto count = parseCount(operand, maximumTruncation);
  if (!count) throw UsageError(quoted(operand) + " is not a usable number of bytes");
  answer.truncation = std::min<std::size_t>(*count, answer.truncation.value_or(*count));
}

void readTrickle(LineReader& line, Answer& answer) {
  constexpr std::chrono::milliseconds limit = maximumTrickleInterval;
  const auto operand = line.takeWord();
  const auto count = parseCount(operand, static_cast<std::uint64_t>(limit.count()));
  if (!count) throw UsageError(quoted(operand) + " is not a usable number of milliseconds");
  answer.trickle = std::max(std::chrono::milliseconds(*count),
                            answer.trickle.value_or(std::chrono::milliseconds{0}));
}

struct ActionDescription {
  std::string_view name;
  /// Whether another action follows.
  bool isNested;
  /// Reads what follows the name, up to the nested action.
  void (*read)(LineReader& line, Answer& answer);
};

constexpr std::array<ActionDescription, 8> actionTable{{
    {"reply", false, readReply},
    {"reply-file", false, readReplyFile},
    {"delay", true, readDelay},
    {"silent", false, readSilent},
    {"close", false, readClose},
    {"error", false, readError},
    {"truncate", true, readTruncate},
    {"trickle", true, readTrickle},
}};

const ActionDescription& takeAction(LineReader& line) {
  const auto word = line.takeWord();
  if (word.empty()) throw UsageError("an action is missing");
  const auto action = std::find_if(actionTable.begin(), actionTable.end(),
                                   [word](const auto& each) { return each.name == word; });
  if (action == actionTable.end()) throw UsageError("unknown action " + quoted(word));
  return *action;
}

HelperMethod takeMethod(LineReader& line) {
  const auto word = line.takeWord();
  const auto method = helperMethodWithSelector(word);
  if (!method) throw UsageError("unknown selector " + quoted(word));
  return *method;
}

Answer takeAnswer(LineReader& line) {
  Answer answer;
  bool isComplete = false;
  while (!isComplete) {
    const auto& action = takeAction(line);
    action.read(line, answer);
    isComplete = !action.isNested;
  }
  return answer;
}

std::size_t row(HelperMethod method) {
  return static_cast<std::size_t>(method);
}

}  // namespace

Script::Script(std::string_view text, std::string_view name) {
  for (std::size_t number = 1; !text.empty(); ++number) {
    LineReader line(text.substr(0, text.find('\n')));
    text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
    if (line.isAtEnd() || line.isAtComment()) continue;
    try {
      const auto method = takeMethod(line);
      turns_[row(method)].answers.push_back(takeAnswer(line));
    } catch (const std::runtime_error& trouble) {
      throw UsageError(oneLine(name) + ":" + std::to_string(number) + ": " + trouble.what());
    }
  }
}

Script Script::read(const std::string& path) {
  Bytes text;
  try {
    text = readFile(path, maximumScriptSize);
  } catch (const PlatformError& error) {
    throw UsageError(error.what());
  }
  return {text, path};
}

std::optional<Answer> Script::next(HelperMethod method) {
  auto& turns = turns_[row(method)];
  if (turns.answers.empty()) return std::nullopt;
  const auto turn = std::min(turns.used, turns.answers.size() - 1);
  turns.used = turn + 1;
  return turns.answers[turn];
}

}  // namespace blindfold
