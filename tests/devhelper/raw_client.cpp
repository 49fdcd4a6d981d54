#include "tests/devhelper/raw_client.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "blindfold/platform/linux/service_socket.h"

namespace blindfold {
namespace {
constexpr int patienceMilliseconds = 10'000;
constexpr std::size_t receiveSize = std::size_t{32} * 1024;

bool becomesReady(int socket, short events, int milliseconds) {
  pollfd source{socket, events, 0};
  return poll(&source, 1, milliseconds) > 0;
}

[[noreturn]] void throwError(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}
}  // namespace

RawClient::RawClient(const std::string& service)
    : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const ServiceSocketAddress address(service);
  if (connect(socket_.get(), address.get(), address.size()) != 0) {
    throwError("connect");
  }
}

bool RawClient::send(std::string_view bytes) {
  while (!bytes.empty()) {
    if (!becomesReady(socket_.get(), POLLOUT, patienceMilliseconds)) {
      throw std::runtime_error("The service takes no more bytes.");
    }
    const ssize_t count =
        ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno == EAGAIN) continue;
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

void RawClient::sendMessage(const HelperMessage& message) {
  if (!send(encodeFrame({FrameKind::request, encodeMessage(message)}))) throwError("send");
}

std::optional<Frame> RawClient::receiveFrame() {
  for (;;) {
    if (auto frame = reader_.next()) return frame;
    const auto bytes = receiveSome(receiveSize);
    if (bytes.empty()) return std::nullopt;
    reader_.append(bytes);
  }
}

Bytes RawClient::receiveToEnd() {
  Bytes all;
  for (;;) {
    const auto bytes = receiveSome(receiveSize);
    if (bytes.empty()) return all;
    all += bytes;
  }
}

std::optional<char> RawClient::receiveByte() {
  const auto bytes = receiveSome(1);
  if (bytes.empty()) return std::nullopt;
  return bytes[0];
}

bool RawClient::staysQuiet(std::chrono::milliseconds time) const {
  return !becomesReady(socket_.get(), POLLIN, static_cast<int>(time.count()));
}

void RawClient::finishSending() const {
  if (shutdown(socket_.get(), SHUT_WR) != 0) throwError("shutdown");
}

Bytes RawClient::receiveSome(std::size_t maximumSize) {
  if (!becomesReady(socket_.get(), POLLIN, patienceMilliseconds)) {
    throw std::runtime_error("The service does not answer.");
  }
  Bytes bytes(maximumSize, '\0');
  const ssize_t count = recv(socket_.get(), bytes.data(), bytes.size(), 0);
  // A service that closes with bytes of ours unread resets the connection.
  if (count < 0 && errno != ECONNRESET) throwError("recv");
  bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return bytes;
}

}  // namespace blindfold
