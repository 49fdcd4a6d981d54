#include "devhelper/recorder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "blindfold/platform/platform_error.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(RecorderTest, ALineTellsTheKindsOfArgumentsApart) {
  EXPECT_EQ(recordLine({HelperMethod::currentState, NoArgument{}}), "currentState:\tnone\t\n");
  EXPECT_EQ(recordLine({HelperMethod::hold, DataArgument{"{}"}}), "hold:withReply:\tdata\t{}\n");
  EXPECT_EQ(recordLine({HelperMethod::renew, TextArgument{"A-1"}}),
            "renew:withReply:\ttext\tA-1\n");
  EXPECT_EQ(recordLine({HelperMethod::renew, TextArgument{""}}), "renew:withReply:\ttext\t\n");
  EXPECT_EQ(recordLine({HelperMethod::release, TextArgument{}}), "release:withReply:\tabsent\t\n");
}

TEST(RecorderTest, AMessageIsOneLineWhateverItCarries) {
  const std::string bytes("a\nb\\n\t\0\xff\r", 9);
  EXPECT_EQ(recordLine({HelperMethod::hold, DataArgument{bytes}}),
            "hold:withReply:\tdata\t" + std::string("a\\nb\\\\n\t\0\xff\r", 11) + "\n");
}

TEST(RecorderTest, AMessageIsInTheFileAtOnce) {
  const TemporaryDirectory directory;
  Recorder recorder(directory.path() + "/record");
  recorder.append({HelperMethod::muteMic, NoArgument{}});
  EXPECT_EQ(contents(directory.path() + "/record"), "muteMic:\tnone\t\n");
}

TEST(RecorderTest, AnEarlierRecordIsAddedTo) {
  const TemporaryDirectory directory;
  for (const auto method : {HelperMethod::muteMic, HelperMethod::unmuteMic}) {
    Recorder(directory.path() + "/record").append({method, NoArgument{}});
  }
  EXPECT_EQ(contents(directory.path() + "/record"), "muteMic:\tnone\t\nunmuteMic:\tnone\t\n");
}

TEST(RecorderTest, ALineThatAnEarlierRecordLeftUnfinishedIsEnded) {
  const TemporaryDirectory directory;
  const auto path = directory.path() + "/record";
  std::ofstream(path) << "muteMic:\tnone\t\nhold:withR";
  Recorder(path).append({HelperMethod::unmuteMic, NoArgument{}});
  EXPECT_EQ(contents(path), "muteMic:\tnone\t\nhold:withR\nunmuteMic:\tnone\t\n");
}

TEST(RecorderTest, ALineThatCannotBeFinishedIsRemoved) {
  const TemporaryDirectory directory;
  const auto path = directory.path() + "/record";
  const auto result = runInChild([&] {
    Recorder recorder(path);
    recorder.append({HelperMethod::muteMic, NoArgument{}});
    // The file ends in the middle of the second line, as on a full disk.
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{.rlim_cur = 20, .rlim_max = 20};
    setrlimit(RLIMIT_FSIZE, &limit);
    try {
      recorder.append({HelperMethod::unmuteMic, NoArgument{}});
    } catch (const PlatformError&) {
      std::_Exit(7);
    }
  });
  EXPECT_EQ(result.exitStatus, 7);
  EXPECT_EQ(contents(path), "muteMic:\tnone\t\n");
}

TEST(RecorderTest, AFileThatCannotBeOpenedIsRefused) {
  EXPECT_THROW(Recorder("/nonexistent/record"), PlatformError);
}

#ifdef __linux__
TEST(RecorderTest, AFullFileIsAFailure) {
  Recorder recorder("/dev/full");
  EXPECT_THROW(recorder.append({HelperMethod::muteMic, NoArgument{}}), PlatformError);
}
#endif
}  // namespace
}  // namespace blindfold
