#include <utility>

#include "blindfold/cli/command.h"
#include "blindfold/cli/output.h"
#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/spawn.h"
#include "blindfold/platform/platform.h"

int main(int argumentCount, char* arguments[]) {
  using namespace blindfold;  // NOLINT(google-build-using-namespace): this is the program

  reportExhaustedMemory();
  // The tool skips the precheck of its own authorization: the helper judges its clients itself.
  HelperClient client(/*skipPrecheck=*/true);
  MainLoop& mainLoop = currentPlatform().mainLoop;
  spawn(mainLoop, runCommand(client, commandArguments(argumentCount, arguments)));
  mainLoop.run();
}
