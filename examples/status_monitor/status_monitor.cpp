// Says in plain words what Blindfold's helper holds. Unlike the command-line tool it is a client
// that the helper must know: it has to run from inside the product's app, and says why when the
// precheck refuses it.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "blindfold/authorization/client_authorization.h"
#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/run_task.h"

namespace {
using namespace blindfold;

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
  const auto failure = clientAuthorizationAssessment().failure;
  if (failure) printLine(std::string(descriptionOf(*failure)));
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
