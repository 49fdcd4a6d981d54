#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tests/devhelper/running_helper.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {

inline const std::string developmentHelper = BLINDFOLD_DEVHELPER;

/// The stack of every program that these tests start, in bytes: on macOS the tool's work runs on
/// threads that have no more.
inline constexpr std::size_t stackSize = std::size_t{512} * 1024;

void writeFile(const std::string& path, const std::string& bytes);
std::string readFile(const std::string& path);

/// A tool and the service that its property list names.
struct Deployment {
  std::string tool;  ///< The path of its executable.
  std::string service;
};

/// Makes the application `name` in `directory`: the tool, and a property list that names `service`
/// and, as the installed helper, the development helper.
Deployment makeDeployment(const std::string& directory, const std::string& service,
                          const std::string& name = "Tool.app");

/// Tests that run the tool of a deployment of their own, against its helper where there is one.
class EndToEndTest : public testing::Test {
 protected:
  /// Uses a new application and a service that no other test has.
  EndToEndTest();

  /// Uses a deployment that exists.
  explicit EndToEndTest(Deployment deployment);

  /// Starts the helper; `script` is its directives, one a line.
  void startHelper(const std::string& script = "", const std::vector<std::string>& options = {});

  /// Ends the helper, cleanly.
  void stopHelper();

  void sendHelper(int signal) const { helper_->sendSignal(signal); }

  /// Runs the tool to its end.
  ProgramResult run(const std::vector<std::string>& words,
                    const ProgramOptions& options = {}) const;

  /// Starts the tool.
  RunningProgram start(const std::vector<std::string>& words,
                       const ProgramOptions& options = {}) const;

  /// The messages that the helper received, a line each.
  std::string record() const { return readFile(path("record")); }

  /// Waits until the helper has received `count` messages with this selector. Fails the test after
  /// ten seconds.
  void waitForMessages(const std::string& selector, int count = 1) const;

  /// A file of this test.
  std::string path(const std::string& name) const { return directory_.path() + "/" + name; }

  const Deployment& deployment() const { return deployment_; }

 private:
  std::vector<std::string> commandLine(const std::vector<std::string>& words) const;

  TemporaryDirectory directory_{BLINDFOLD_TEST_DIRECTORY};
  std::optional<TestServiceName> ownService_;
  Deployment deployment_;
  std::optional<RunningProgram> helper_;
};

/// The run was one failure of status 1 with `line` on standard error, and nothing else.
void expectFailure(const ProgramResult& result, const std::string& line);

/// The run printed `line` and nothing else.
void expectPrinted(const ProgramResult& result, const std::string& line);

}  // namespace blindfold
