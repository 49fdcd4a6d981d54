// Services that cannot be reached, or not at once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "blindfold/platform/linux/linux_helper_connection.h"
#include "blindfold/platform/linux/service_socket.h"
#include "blindfold/platform/posix/file_descriptor.h"
#include "tests/platform/linux/test_helper.h"
#include "tests/platform/linux/test_request.h"

namespace blindfold {
namespace {
using namespace std::string_literals;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(LinuxHelperConnectionTest, AServiceThatIsNotThereInvalidates) {
  TestRequest request(uniqueServiceName());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, ASocketThatNobodyListensAtInvalidates) {
  const BoundService service(uniqueServiceName());
  TestRequest request(service.name());
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, AFileThatIsNoSocketInvalidates) {
  const std::string name = uniqueServiceName();
  std::filesystem::create_directories(systemDomainDirectory);
  std::ofstream(serviceSocketPath(name)) << "no socket";
  TestRequest request(name);
  request.start();
  EXPECT_THAT(request.outcome(), ElementsAre("invalidated"));
  std::filesystem::remove(serviceSocketPath(name));
}

TEST(LinuxHelperConnectionTest, ANameThatCannotBeAServicesInvalidates) {
  for (const std::string& name : {""s, "a/b"s, "../a"s, "a\0b"s, std::string(200, 'x'), "."s}) {
    TestRequest request(name);
    request.start();
    EXPECT_THAT(request.outcome(), ElementsAre("invalidated")) << name;
  }
}

/// Connections that wait at a service until none more finds room.
std::vector<FileDescriptor> fillBacklog(const std::string& name) {
  std::vector<FileDescriptor> waiting;
  const ServiceSocketAddress address(name);
  for (;;) {
    FileDescriptor next(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (connect(next.get(), address.get(), address.size()) != 0) {
      EXPECT_EQ(errno, EAGAIN);
      return waiting;
    }
    waiting.push_back(std::move(next));
  }
}

TEST(LinuxHelperConnectionTest, AFullBacklogIsTriedAgainUntilThereIsRoom) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  const auto waiting = fillBacklog(service.name());
  TestRequest request(service.name());
  request.start();
  EXPECT_THAT(request.heardWithin(milliseconds(35)), IsEmpty());
  std::thread helper([&] {
    for (std::size_t i = 0; i < waiting.size(); ++i) service.accept();
    const FileDescriptor connection = service.accept();
    answering({FrameKind::reply, "at last"})(connection.get());
  });
  EXPECT_THAT(request.outcome(), ElementsAre("reply at last"));
  helper.join();
}

TEST(LinuxHelperConnectionTest, AFullBacklogIsTriedAgainUntilTheConnectionIsInvalidated) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  const auto waiting = fillBacklog(service.name());
  TestRequest request(service.name());
  request.start();
  EXPECT_THAT(request.heardWithin(milliseconds(25)), IsEmpty());
  request.invalidate();
  EXPECT_THAT(request.heardWithin(milliseconds(25)), ElementsAre("invalidated"));
}

TEST(LinuxHelperConnectionTest, AConnectionDestroyedWhileItTriesAgainTriesNoMore) {
  const BoundService service(uniqueServiceName());
  service.listen(1);
  const auto waiting = fillBacklog(service.name());
  TestRequest request(service.name());
  request.start();
  request.connection().reset();
  EXPECT_THAT(request.heardWithin(milliseconds(25)), IsEmpty());
}

TEST(LinuxHelperConnectionTest, AServiceThatGoesWhileItIsTriedAgainInvalidates) {
  std::vector<FileDescriptor> waiting;
  std::unique_ptr<TestRequest> request;
  {
    const BoundService service(uniqueServiceName());
    service.listen(1);
    waiting = fillBacklog(service.name());
    request = std::make_unique<TestRequest>(service.name());
    request->start();
    EXPECT_THAT(request->heardWithin(milliseconds(15)), IsEmpty());
  }
  EXPECT_THAT(request->outcome(), ElementsAre("invalidated"));
}
}  // namespace
}  // namespace blindfold
