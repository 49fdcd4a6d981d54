#include <memory>

#include "blindfold/cli/command.h"
#include "blindfold/cli/output.h"
#include "blindfold/helperclient/helper_client.h"
#include "blindfold/helperclient/run_task.h"

int main(int argumentCount, char* arguments[]) {
  using namespace blindfold;  // NOLINT(google-build-using-namespace): this is the program

  reportExhaustedMemory();
  // Never destroyed: the main thread may end before the requests do. The tool skips the precheck of
  // its own authorization: the helper judges its clients itself.
  HelperClient& client =
      *std::make_unique<HelperClient>(/*skipClientAuthorizationPrecheck=*/true).release();
  spawn(runCommand(client, commandArguments(argumentCount, arguments)));
  runMainLoop();
}
