#include "tests/devhelper/running_helper.h"

#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "blindfold/platform/linux/service_socket.h"

namespace blindfold {

TestServiceName::TestServiceName() {
  static int count = 0;
  text_ = "test." + std::to_string(getpid()) + "." + std::to_string(++count);
}

TestServiceName::~TestServiceName() {
  const auto socket = serviceSocketPath(text_);
  std::error_code ignored;
  std::filesystem::remove_all(socket, ignored);
  std::filesystem::remove_all(socket + ".lock", ignored);
}

RunningHelper::RunningHelper(const std::string& service, const std::vector<std::string>& arguments)
    : program_(helperArguments(service, arguments)) {
  if (program_.waitForOutputLine("ready")) return;
  throw std::runtime_error("The helper is not ready: " + program_.wait().standardError);
}

std::vector<std::string> helperArguments(const std::string& service,
                                         const std::vector<std::string>& arguments) {
  std::vector<std::string> all{BLINDFOLD_DEVHELPER, "--service", service};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return all;
}

}  // namespace blindfold
