#include "devhelper/options.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "blindfold/platform/linux/service_socket.h"
#include "devhelper/quoted.h"
#include "devhelper/usage_error.h"

namespace blindfold {
namespace {

void setService(Options& options, const std::string& operand) {
  if (!serviceSocketAddress(operand)) {
    throw UsageError(quoted(operand) + " cannot be the name of a service");
  }
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
  if (!kind) throw UsageError(quoted(operand) + " is not a kind of camera");
  options.kind = *kind;
}

struct OptionDescription {
  std::string_view name;
  /// What follows it; empty for an option that stands alone.
  std::string_view operand;
  void (*apply)(Options& options, const std::string& operand);
};

constexpr std::array<OptionDescription, 5> optionTable{{
    {"--service", "NAME", setService},
    {"--script", "FILE", setScript},
    {"--record", "FILE", setRecord},
    {"--camera-in-use", "", setCameraInUse},
    {"--kind", "builtIn|externalUSB|continuity|unknown", setKind},
}};

const OptionDescription& optionNamed(std::string_view name) {
  const auto option = std::find_if(optionTable.begin(), optionTable.end(),
                                   [name](const auto& each) { return each.name == name; });
  if (option == optionTable.end()) throw UsageError("unknown option " + quoted(name));
  return *option;
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
      throw UsageError(std::string(option.name) + " needs " + std::string(option.operand));
    }
    option.apply(options, *argument);
  }
  return options;
}

}  // namespace blindfold
