#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/program.h"

namespace blindfold {

inline const std::string tool = BLINDFOLD_TOOL;
inline const std::string shippedTool = BLINDFOLD_SHIPPED_TOOL;
inline const std::string developmentHelper = BLINDFOLD_DEVHELPER;

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string readFile(const std::string& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

/// Tests that run the tool of the development deployment, against its helper where there is one.
class EndToEndTest : public testing::Test {
 protected:
  /// Starts the helper; `script` is its directives, one a line.
  void startHelper(const std::string& script = "", const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments{developmentHelper, "--record", path("record")};
    if (!script.empty()) {
      writeFile(path("script"), script);
      arguments.insert(arguments.end(), {"--script", path("script")});
    }
    arguments.insert(arguments.end(), options.begin(), options.end());
    helper_.emplace(arguments);
    ASSERT_TRUE(helper_->waitForOutputLine("ready"));
  }

  /// Ends the helper, cleanly.
  void stopHelper() {
    helper_->sendSignal(SIGTERM);
    EXPECT_EQ(helper_->wait().exitStatus, 0);
    helper_.reset();
  }

  void sendHelper(int signal) const { helper_->sendSignal(signal); }

  /// Runs the tool to its end.
  static ProgramResult run(const std::vector<std::string>& words,
                           const ProgramOptions& options = {}) {
    return runProgram(commandLine(words), options);
  }

  /// Starts the tool.
  static RunningProgram start(const std::vector<std::string>& words) {
    return RunningProgram(commandLine(words));
  }

  /// What the helper received, a line a message.
  std::string record() const { return readFile(path("record")); }

  /// A file of this test.
  std::string path(const std::string& name) const { return directory_.path() + "/" + name; }

 private:
  static std::vector<std::string> commandLine(const std::vector<std::string>& words) {
    std::vector<std::string> arguments{tool};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return arguments;
  }

  TemporaryDirectory directory_;
  std::optional<RunningProgram> helper_;
};

/// The run was one failure of status 1 with `line` on standard error, and nothing else.
inline void expectFailure(const ProgramResult& result, const std::string& line) {
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.standardError, line + "\n");
  EXPECT_EQ(result.standardOutput, "");
}

/// The run printed `line` and nothing else.
inline void expectPrinted(const ProgramResult& result, const std::string& line) {
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.standardOutput, line + "\n");
  EXPECT_EQ(result.standardError, "");
}

}  // namespace blindfold
