#include "tests/end_to_end/end_to_end_test.h"

#include <sys/resource.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace blindfold {
namespace {
using namespace std::chrono_literals;

constexpr auto messageDeadline = 10s;
constexpr auto messagePause = 5ms;

/// `text` as the contents of an XML element.
std::string xmlText(std::string_view text) {
  std::string result;
  for (const char byte : text) {
    if (byte == '&') {
      result += "&amp;";
    } else if (byte == '<') {
      result += "&lt;";
    } else {
      result += byte;
    }
  }
  return result;
}

std::string propertyList(const std::string& service) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
  <key>CFBundleIdentifier</key>
  <string>app.blindfold.cli</string>
  <key>BlindfoldHelperInstallPath</key>
  <string>)" +
         xmlText(developmentHelper) + R"(</string>
  <key>BlindfoldHelperMachServiceName</key>
  <string>)" +
         xmlText(service) + R"(</string>
</dict>
</plist>
)";
}

/// Makes `path` the same executable as `original`, by a hard link where the file system allows it.
void provideExecutable(const std::string& original, const std::string& path) {
  std::error_code error;
  std::filesystem::create_hard_link(original, path, error);
  if (error) std::filesystem::copy_file(original, path);
}

/// Limits the stacks of the programs that this process starts from now on.
void limitStacks() {
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) != 0) throw std::system_error(errno, std::generic_category());
  limit.rlim_cur = stackSize;
  if (setrlimit(RLIMIT_STACK, &limit) != 0) throw std::system_error(errno, std::generic_category());
}

int occurrences(std::string_view text, std::string_view word) {
  int result = 0;
  for (auto found = text.find(word); found != std::string_view::npos;
       found = text.find(word, found + word.size())) {
    ++result;
  }
  return result;
}
}  // namespace

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string readFile(const std::string& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

Deployment makeDeployment(const std::string& directory, const std::string& service,
                          const std::string& name) {
  const std::string contents = directory + "/" + name + "/Contents";
  std::filesystem::create_directories(contents + "/MacOS");
  writeFile(contents + "/Info.plist", propertyList(service));
  Deployment deployment{contents + "/MacOS/blindfoldctl", service};
  provideExecutable(BLINDFOLD_UNLINKED_TOOL, deployment.tool);
  return deployment;
}

EndToEndTest::EndToEndTest() {
  limitStacks();
  ownService_.emplace();
  deployment_ = makeDeployment(directory_.path(), ownService_->text());
}

EndToEndTest::EndToEndTest(Deployment deployment) : deployment_(std::move(deployment)) {
  limitStacks();
}

void EndToEndTest::startHelper(const std::string& script, const std::vector<std::string>& options) {
  std::vector<std::string> arguments{developmentHelper, "--service", deployment_.service,
                                     "--record", path("record")};
  if (!script.empty()) {
    writeFile(path("script"), script);
    arguments.insert(arguments.end(), {"--script", path("script")});
  }
  arguments.insert(arguments.end(), options.begin(), options.end());
  helper_.emplace(arguments);
  ASSERT_TRUE(helper_->waitForOutputLine("ready")) << helper_->wait().standardError;
}

void EndToEndTest::stopHelper() {
  helper_->sendSignal(SIGTERM);
  EXPECT_EQ(helper_->wait().exitStatus, 0);
  helper_.reset();
}

ProgramResult EndToEndTest::run(const std::vector<std::string>& words,
                                const ProgramOptions& options) const {
  return runProgram(commandLine(words), options);
}

RunningProgram EndToEndTest::start(const std::vector<std::string>& words,
                                   const ProgramOptions& options) const {
  return RunningProgram(commandLine(words), options);
}

void EndToEndTest::waitForMessages(const std::string& selector, int count) const {
  const auto deadline = std::chrono::steady_clock::now() + messageDeadline;
  while (occurrences(record(), selector) < count) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << selector << " was not received";
    std::this_thread::sleep_for(messagePause);
  }
}

std::vector<std::string> EndToEndTest::commandLine(const std::vector<std::string>& words) const {
  std::vector<std::string> arguments{deployment_.tool};
  arguments.insert(arguments.end(), words.begin(), words.end());
  return arguments;
}

void expectFailure(const ProgramResult& result, const std::string& line) {
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError, line + "\n");
  EXPECT_EQ(result.standardOutput, "");
}

void expectPrinted(const ProgramResult& result, const std::string& line) {
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.standardOutput, line + "\n");
  EXPECT_EQ(result.standardError, "");
}

}  // namespace blindfold
