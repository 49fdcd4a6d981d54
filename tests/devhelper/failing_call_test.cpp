// The helper whose system calls fail.

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/service_socket.h"
#include "blindfold/platform/platform_error.h"
#include "devhelper/development_helper.h"
#include "devhelper/linux/helper_service.h"
#include "devhelper/linux/service_listener.h"
#include "devhelper/recorder.h"
#include "tests/devhelper/raw_client.h"
#include "tests/devhelper/running_helper.h"
#include "tests/support/failing_call.h"
#include "tests/support/temporary_directory.h"

namespace blindfold {
namespace {
const HelperMessage status{HelperMethod::currentState, NoArgument{}};

/// The text of the `PlatformError` that `body` throws; empty when it throws none.
std::string failureOf(const std::function<void()>& body) {
  try {
    body();
    return "";
  } catch (const PlatformError& error) {
    return error.what();
  }
}

/// The text with which serving `service` fails.
std::string failureOfServing(const std::string& service) {
  return failureOf([&] { ServiceListener(service).listen(); });
}

std::string failureOfServing(const std::string& service, std::string_view call, int error) {
  const FailingCall failing(call, error);
  const std::string failure = failureOfServing(service);
  EXPECT_EQ(failing.failures(), 1) << call;
  return failure;
}

class ServiceListenerFailureTest : public testing::Test {
 protected:
  TestServiceName service_;
  const std::string path_ = serviceSocketPath(service_.text());
};

TEST_F(ServiceListenerFailureTest, EachCallThatTheSystemRefusesIsNamed) {
  EXPECT_EQ(failureOfServing(service_.text(), "mkdir", EROFS),
            "cannot make the directory '" + std::string(systemDomainDirectory) +
                "': Read-only file system");
  EXPECT_EQ(failureOfServing(service_.text(), "open", EMFILE),
            "cannot open '" + path_ + ".lock': Too many open files");
  EXPECT_EQ(failureOfServing(service_.text(), "flock", ENOLCK),
            "cannot lock '" + path_ + ".lock': No locks available");
  EXPECT_EQ(failureOfServing(service_.text(), "lstat", EACCES),
            "cannot look at '" + path_ + "': Permission denied");
  for (const std::string_view call : {"socket", "bind", "chmod", "listen"}) {
    EXPECT_EQ(failureOfServing(service_.text(), call, ENOMEM),
              "cannot listen at '" + path_ + "': Cannot allocate memory")
        << call;
    EXPECT_FALSE(std::filesystem::exists(path_)) << call;
  }
  EXPECT_EQ(failureOfServing(service_.text()), "");
}

TEST_F(ServiceListenerFailureTest, AStaleSocketIsReplacedOrSaidToBeInTheWay) {
  const auto leaveSocket = [&] {
    const ServiceSocketAddress address(service_.text());
    const FileDescriptor stale(socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(bind(stale.get(), address.get(), address.size()), 0);
  };
  leaveSocket();
  EXPECT_EQ(failureOfServing(service_.text()), "");
  leaveSocket();
  EXPECT_EQ(failureOfServing(service_.text(), "unlink", EPERM),
            "cannot remove '" + path_ + "': Operation not permitted");
}

TEST_F(ServiceListenerFailureTest, ASocketThatGoesByItselfIsNotMissed) {
  EXPECT_EQ(failureOfServing(service_.text(), "unlink", ENOENT), "");
}

TEST_F(ServiceListenerFailureTest, ADirectoryThatIsMadeIsItsUsersOnly) {
  std::filesystem::create_directories(systemDomainDirectory);
  // The call is said to have made the directory that is there.
  EXPECT_EQ(failureOfServing(service_.text(), "mkdir", 0), "");
  EXPECT_EQ(std::filesystem::status(systemDomainDirectory).permissions(),
            std::filesystem::perms::owner_all);
  const FailingCall made("mkdir", 0);
  EXPECT_EQ(failureOfServing(service_.text(), "chmod", EPERM),
            "cannot make the directory '" + std::string(systemDomainDirectory) +
                "': Operation not permitted");
}

// The record.

class RecorderFailureTest : public testing::Test {
 protected:
  std::string contents() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  /// The text with which recording fails: "cannot record to PATH: REASON".
  std::string failureOfRecording(std::string_view call, int error) const {
    return failureOf([&] {
      const FailingCall failing(call, error);
      Recorder(path_).append(status);
    });
  }

  std::string refused(const std::string& reason) const {
    return "cannot record to '" + path_ + "': " + reason;
  }

  TemporaryDirectory directory_;
  const std::string path_ = directory_.path() + "/record";
};

TEST_F(RecorderFailureTest, AFileThatCannotBeOpenedOrLookedAtIsNamed) {
  EXPECT_EQ(failureOfRecording("open", EMFILE), refused("Too many open files"));
  EXPECT_EQ(failureOfRecording("fstat", EIO), refused("Input/output error"));
  std::ofstream(path_) << "begun";
  EXPECT_EQ(failureOfRecording("pread", EIO), refused("Input/output error"));
  EXPECT_EQ(contents(), "begun");
}

TEST_F(RecorderFailureTest, AFileWhoseLastLineCannotBeReadIsNamed) {
  std::ofstream(path_) << "begun";
  EXPECT_EQ(failureOf([&] {
              const FailingCall failing("open", EACCES, 1, 1);
              const Recorder recorder(path_);
            }),
            refused("Permission denied"));
}

TEST_F(RecorderFailureTest, ALineThatCannotBeWrittenLeavesTheRecordAsItWas) {
  Recorder recorder(path_);
  recorder.append(status);
  const std::string before = contents();
  for (const std::string_view call : {"write", "fstat"}) {
    const FailingCall failing(call, ENOSPC);
    EXPECT_EQ(failureOf([&] { recorder.append(status); }), refused("No space left on device"));
    EXPECT_EQ(contents(), before) << call;
  }
  const FailingCall interrupted("write", EINTR);
  recorder.append(status);
  EXPECT_EQ(contents(), before + before);
}

// The service.

class HelperServiceFailureTest : public testing::Test {
 protected:
  HelperServiceFailureTest() { listener_.listen(); }

  void runRounds(int count) {
    for (; count > 0; --count) {
      loop_.schedule(std::chrono::milliseconds(1), [] {});
      loop_.runRound();
    }
  }

  TestServiceName service_;
  ServiceListener listener_{service_.text()};
  DevelopmentHelper helper_{{}, {}};
  EventLoop loop_;
};

TEST_F(HelperServiceFailureTest, AClientIsAcceptedInSpiteOfInterruptionsAndOfOthersThatHaveLeft) {
  const HelperService service(loop_, listener_, helper_, [](const PlatformError&) {});
  RawClient client(service_.text());
  client.sendMessage(status);
  const FailingCall interrupted("accept4", EINTR);
  const FailingCall left("accept4", ECONNABORTED);
  runRounds(5);
  EXPECT_TRUE(client.receiveFrame());
}

TEST_F(HelperServiceFailureTest, WhereThereIsNoRoomForAClientItIsAcceptedLater) {
  const HelperService service(loop_, listener_, helper_, [](const PlatformError&) {});
  RawClient client(service_.text());
  client.sendMessage(status);
  const FailingCall full("accept4", EMFILE);
  runRounds(2);
  EXPECT_TRUE(client.staysQuiet(std::chrono::milliseconds(1)));
  runRounds(60);
  EXPECT_TRUE(client.receiveFrame());
}

TEST_F(HelperServiceFailureTest, AServiceMayEndBeforeItAcceptsAgain) {
  std::optional<HelperService> service(std::in_place, loop_, listener_, helper_,
                                       [](const PlatformError&) {});
  const RawClient client(service_.text());
  const FailingCall full("accept4", EMFILE);
  runRounds(2);
  service.reset();
  EXPECT_TRUE(client.staysQuiet(std::chrono::milliseconds(1)));
}

TEST_F(HelperServiceFailureTest, AClientIsServedInSpiteOfInterruptions) {
  const HelperService service(loop_, listener_, helper_, [](const PlatformError&) {});
  RawClient client(service_.text());
  client.sendMessage(status);
  const FailingCall receiving("recv", EINTR);
  const FailingCall sending("sendmsg", EINTR);
  runRounds(10);
  EXPECT_EQ(receiving.failures() + sending.failures(), 2);
  EXPECT_TRUE(client.receiveFrame());
}

TEST_F(HelperServiceFailureTest, AClientThatCannotBeSentAnythingIsDropped) {
  const HelperService service(loop_, listener_, helper_, [](const PlatformError&) {});
  RawClient client(service_.text());
  client.sendMessage(status);
  const FailingCall sending("sendmsg", EPIPE);
  runRounds(10);
  EXPECT_EQ(client.receiveToEnd(), "");
}
}  // namespace
}  // namespace blindfold
