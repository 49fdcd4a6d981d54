// Says in plain words what Blindfold's helper holds. Unlike the command-line tool it is a client
// that the helper must know: it has to run from inside the product's app, and says why when the
// precheck refuses it.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "blindfold/authorization/client_authorization.h"
#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/run_task.h"
#include "blindfold/platform/platform.h"

namespace {

using namespace blindfold;

/// Why the precheck refuses a client, in the order of `ClientAuthorizationFailure`.
constexpr std::array<std::string_view, 8> explanations{
    "The system does not tell where this program's executable is.",
    "This program does not run from one of the places that the product installs it to.",
    "The helper accepts only signed programs.",
    "This program and the helper are signed by different teams.",
    "This program's signature does not carry one of the product's identifiers.",
    "This program does not run from inside an app that declares an identifier.",
    "The app around this program is not one of the product's.",
    "Somebody else could change this app: its folders or its executable are writable by others.",
};

void printLine(const std::string& line) {
  std::printf("%s\n", line.c_str());
}

void describe(const HoldState& state) {
  printLine("Mode: " + state.mode);
  printLine(state.micMuted ? "Microphones are muted." : "Microphones are not muted.");
  if (state.heldTargets.empty()) printLine("Nothing is held.");
  for (const HeldTarget& target : state.heldTargets) {
    const std::string process =
        target.pid ? "process " + std::to_string(*target.pid) : "no running process";
    printLine("Held: " + target.label + " (" + std::string(rawValue(target.domain)) + ", " +
              process + ")");
  }
}

void explainRefusal() {
  const auto assessment = clientAuthorizationAssessment(currentPlatform(), deploymentSettings());
  if (!assessment.failure) return;
  printLine(std::string(explanations.at(static_cast<std::size_t>(*assessment.failure))));
}

}  // namespace

int main() {
  HelperClient client(/*skipClientAuthorizationPrecheck=*/false);
  try {
    describe(syncWait(client.currentState()));
    return EXIT_SUCCESS;
  } catch (const HelperClientError& error) {
    printLine(error.errorDescription());
    if (error.errorCase() == HelperClientError::Case::unauthorizedClient) explainRefusal();
    return EXIT_FAILURE;
  }
}
