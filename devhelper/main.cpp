#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "devhelper/development_helper.h"
#include "devhelper/messages.h"
#include "devhelper/options.h"

namespace blindfold {
namespace {
constexpr int usageStatus = 2;

constexpr bool isStandardStream(int descriptor) {
  return std::clamp(descriptor, STDIN_FILENO, STDERR_FILENO) == descriptor;
}

/// Opens the standard streams that were closed at the start, so that no file or socket takes their
/// numbers. They are opened for reading: writing to a closed stream still fails.
void reserveStandardStreams() {
  int descriptor = -1;
  do {
    descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
  } while (isStandardStream(descriptor));
  close(descriptor);
}

int report(const std::exception& error, int status) {
  std::fprintf(stderr, "blindfold-devhelper: %s\n", error.what());
  return status;
}

int run(int argumentCount, char** arguments) {
  try {
    reserveStandardStreams();
    const auto options =
        parseOptions({arguments + std::min(argumentCount, 1), arguments + argumentCount});
    if (!options.help) serve(options);
    print(helpText());
    return EXIT_SUCCESS;
  } catch (const OptionError& error) {
    report(error, usageStatus);
    std::fprintf(stderr, "%s\n", usageLine().c_str());
    return usageStatus;
  } catch (const UsageError& error) {
    return report(error, usageStatus);
  } catch (const std::exception& error) {
    return report(error, EXIT_FAILURE);
  }
}
}  // namespace
}  // namespace blindfold

int main(int argumentCount, char* arguments[]) {
  return blindfold::run(argumentCount, arguments);
}
