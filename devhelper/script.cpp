#include "devhelper/script.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "blindfold/platform/platform_error.h"
#include "blindfold/platform/posix/file_descriptor.h"
#include "blindfold/text/ascii.h"
#include "blindfold/text/one_line.h"
#include "devhelper/messages.h"

namespace blindfold {
namespace {
constexpr std::string_view blanks = " \t";
constexpr std::size_t nanosecondDigits = 9;

/// The bytes of the file at `path`, which may be anything that can be read to an end. Throws
/// `PlatformError` with a one-line text when it cannot be read or holds more than `maximumSize`.
Bytes readFile(const std::string& path, std::size_t maximumSize) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  auto bytes = file ? readToEnd(file, maximumSize) : std::nullopt;
  if (bytes) return std::move(*bytes);
  if (errno == EFBIG) throw PlatformError(quotedPath(path) + " is too large");
  throw systemFailure("cannot read " + quotedPath(path));
}

/// The whole number that `text` writes in decimal digits, nothing else around them; `std::nullopt`
/// when it is not one or exceeds `maximum`.
std::optional<std::uint64_t> parseCount(std::string_view text, std::uint64_t maximum) {
  std::uint64_t count = 0;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  const auto parsed = std::from_chars(begin, end, count);
  if (parsed.ec != std::errc() || parsed.ptr != end || count > maximum) return std::nullopt;
  return count;
}

bool isDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), isDigit);
}

/// The seconds that `text` writes as a decimal number, "2", "0.25" or ".5", to the nanosecond
/// (further digits are dropped); `std::nullopt` when it is not one or exceeds `maximum`.
std::optional<std::chrono::nanoseconds> parseSeconds(std::string_view text,
                                                     std::chrono::seconds maximum) {
  const auto point = std::min(text.find('.'), text.size());
  const auto whole = text.substr(0, point);
  const auto fraction = text.substr(std::min(point + 1, text.size()));
  if (whole.empty() && fraction.empty()) return std::nullopt;
  if (!isDigits(whole) || !isDigits(fraction)) return std::nullopt;

  const auto limit = static_cast<std::uint64_t>(maximum.count());
  const auto seconds = whole.empty() ? 0 : parseCount(whole, limit);
  if (!seconds) return std::nullopt;
  std::string nanoseconds(fraction.substr(0, nanosecondDigits));
  nanoseconds.resize(nanosecondDigits, '0');
  const auto result = std::chrono::seconds(*seconds) +
                      std::chrono::nanoseconds(std::strtoll(nanoseconds.c_str(), nullptr, 10));
  if (result > maximum) return std::nullopt;
  return result;
}

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
  if (bytes.size() > maximumAnswerSize) {
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
  finish(answer, Answer::Ending::reply, readFile(path, maximumAnswerSize));
}

void readError(LineReader& line, Answer& answer) {
  finish(answer, Answer::Ending::error, Bytes(line.takeRest()));
}

/// `silent` and `close`, which send no frame that could be truncated or trickled.
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
  /// Whether it needs answers that travel as frames.
  bool needsFrames;
  /// Reads what follows the name, up to the nested action.
  void (*read)(LineReader& line, Answer& answer);
};

constexpr std::array<ActionDescription, 8> actionTable{{
    {"reply", false, false, readReply},
    {"reply-file", false, false, readReplyFile},
    {"delay", true, false, readDelay},
    {"silent", false, false, readSilent},
    {"close", false, false, readClose},
    {"error", false, true, readError},
    {"truncate", true, true, readTruncate},
    {"trickle", true, true, readTrickle},
}};

const ActionDescription& takeAction(LineReader& line, Carrier carrier) {
  const auto word = line.takeWord();
  if (word.empty()) throw UsageError("an action is missing");
  const auto action = std::find_if(actionTable.begin(), actionTable.end(),
                                   [word](const auto& each) { return each.name == word; });
  if (action == actionTable.end()) throw UsageError("unknown action " + quoted(word));
  if (action->needsFrames && carrier != Carrier::frames) {
    throw UsageError("XPC has no way to carry out " + quoted(word));
  }
  return *action;
}

HelperMethod takeMethod(LineReader& line) {
  const auto word = line.takeWord();
  const auto method = helperMethodWithSelector(word);
  if (!method) throw UsageError("unknown selector " + quoted(word));
  return *method;
}

Answer takeAnswer(LineReader& line, Carrier carrier) {
  Answer answer;
  bool isComplete = false;
  while (!isComplete) {
    const auto& action = takeAction(line, carrier);
    action.read(line, answer);
    isComplete = !action.isNested;
  }
  return answer;
}

std::size_t row(HelperMethod method) {
  return static_cast<std::size_t>(method);
}
}  // namespace

Script::Script(std::string_view text, std::string_view name, Carrier carrier) {
  for (std::size_t number = 1; !text.empty(); ++number) {
    LineReader line(text.substr(0, text.find('\n')));
    text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
    if (line.isAtEnd() || line.isAtComment()) continue;
    try {
      const auto method = takeMethod(line);
      turns_[row(method)].answers.push_back(takeAnswer(line, carrier));
    } catch (const std::runtime_error& error) {
      throw UsageError(oneLine(name) + ":" + std::to_string(number) + ": " + error.what());
    }
  }
}

Script Script::read(const std::string& path, Carrier carrier) {
  Bytes text;
  try {
    text = readFile(path, maximumScriptSize);
  } catch (const PlatformError& error) {
    throw UsageError(error.what());
  }
  return {text, path, carrier};
}

std::optional<Answer> Script::next(HelperMethod method) {
  auto& turns = turns_[row(method)];
  if (turns.answers.empty()) return std::nullopt;
  const auto turn = std::min(turns.used, turns.answers.size() - 1);
  turns.used = turn + 1;
  return turns.answers[turn];
}

}  // namespace blindfold
