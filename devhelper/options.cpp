#include "devhelper/options.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace blindfold {
namespace {
void setService(Options& options, const std::string& operand) {
  options.service = operand;
}

void setScript(Options& options, const std::string& operand) {
  options.scriptPath = operand;
}

void setRecord(Options& options, const std::string& operand) {
  options.recordPath = operand;
}

void setCameraInUse(Options& options, const std::string& /*none*/) {
  options.cameraInUse = true;
}

void setKind(Options& options, const std::string& operand) {
  const auto kind = fromRawValue<CameraKind>(operand);
  if (!kind) throw OptionError(quoted(operand) + " is not a kind of camera");
  options.kind = *kind;
}

void setHelp(Options& options, const std::string& /*none*/) {
  options.help = true;
}

struct OptionDescription {
  std::string_view name;
  /// The form of the argument that follows; empty for an option that stands alone.
  std::string_view operand;
  std::string_view meaning;
  void (*apply)(Options& options, const std::string& operand);
};

constexpr std::array optionTable{
    OptionDescription{"--service", "NAME",
                      "the service to serve (" BLINDFOLD_DEVELOPMENT_SERVICE " by default)",
                      setService},
    OptionDescription{"--script", "FILE", "how to answer, method by method", setScript},
    OptionDescription{"--record", "FILE", "append a line for each message received", setRecord},
    OptionDescription{"--camera-in-use", "", "another application uses the camera", setCameraInUse},
    OptionDescription{"--kind", "builtIn|externalUSB|continuity|unknown",
                      "the kind of the selected camera (builtIn by default)", setKind},
    OptionDescription{"--help", "", "print this and end", setHelp},
};

const OptionDescription& optionNamed(std::string_view name) {
  const auto* const option = std::find_if(optionTable.begin(), optionTable.end(),
                                          [name](const auto& each) { return each.name == name; });
  if (option == optionTable.end()) throw OptionError("unknown option " + quoted(name));
  return *option;
}

/// The option as it is written on a command line.
std::string form(const OptionDescription& option) {
  std::string text(option.name);
  if (!option.operand.empty()) text.append(" ").append(option.operand);
  return text;
}
}  // namespace

Options parseOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    const auto& option = optionNamed(*argument);
    if (option.operand.empty()) {
      option.apply(options, {});
      continue;
    }
    if (++argument == arguments.end()) {
      throw OptionError(std::string(option.name) + " needs " + std::string(option.operand));
    }
    option.apply(options, *argument);
  }
  return options;
}

std::string usageLine() {
  std::string line = "usage: blindfold-devhelper";
  for (const auto& option : optionTable) line.append(" [").append(form(option)).append("]");
  return line;
}

std::string helpText() {
  std::size_t width = 0;
  for (const auto& option : optionTable) width = std::max(width, form(option).size());
  std::string text = usageLine() + "\n\n";
  for (const auto& option : optionTable) {
    std::string column = form(option);
    column.resize(width, ' ');
    text.append("  ").append(column).append("  ").append(option.meaning).append("\n");
  }
  return text;
}

}  // namespace blindfold
