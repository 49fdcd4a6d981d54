#include "tests/platform/linux/test_helper.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <utility>

#include "blindfold/platform/linux/service_socket.h"

namespace blindfold {
namespace {
constexpr int ampleBacklog = 128;
}  // namespace

std::string uniqueServiceName() {
  static std::atomic<int> count = 0;
  return "test." + std::to_string(getpid()) + '.' + std::to_string(count++);
}

BoundService::BoundService(std::string name)
    : name_(std::move(name)), socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  std::filesystem::create_directories(systemDomainDirectory);
  const ServiceSocketAddress address(name_);
  EXPECT_EQ(bind(socket_.get(), address.get(), address.size()), 0) << errno;
  EXPECT_EQ(chmod(serviceSocketPath(name_).c_str(), 0777), 0);
}

BoundService::~BoundService() {
  unlink(serviceSocketPath(name_).c_str());
}

void BoundService::listen(int backlog) const {
  EXPECT_EQ(::listen(socket_.get(), backlog), 0) << errno;
}

FileDescriptor BoundService::accept() const {
  return FileDescriptor(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

TestHelper::TestHelper(std::function<void(int)> serve) : service_(uniqueServiceName()) {
  service_.listen(ampleBacklog);
  thread_ = std::thread([this, serve = std::move(serve)] {
    while (const auto connection = service_.accept()) serve(connection.get());
  });
}

TestHelper::~TestHelper() {
  shutdown(service_.socket(), SHUT_RDWR);
  thread_.join();
}

HelperMessage receiveMessage(int connection) {
  FrameReader reader;
  std::array<char, 32768> buffer{};
  for (;;) {
    if (const auto frame = reader.next()) return decodeMessage(frame->payload);
    const ssize_t count = read(connection, buffer.data(), buffer.size());
    if (count <= 0) throw PlatformError("The connection ended before its request.");
    reader.append({buffer.data(), static_cast<std::size_t>(count)});
  }
}

void sendBytes(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

std::function<void(int)> answeringBytes(Bytes bytes) {
  return [bytes = std::move(bytes)](int connection) {
    receiveMessage(connection);
    sendBytes(connection, bytes);
  };
}

std::function<void(int)> answering(const Frame& frame) {
  return answeringBytes(encodeFrame(frame));
}

void awaitEnd(int connection) {
  char byte = 0;
  while (read(connection, &byte, 1) > 0) {
  }
}

int openDescriptorCount() {
  int count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

}  // namespace blindfold
