#include "devhelper/client_connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "blindfold/platform/platform_error.h"

namespace blindfold {
namespace {

constexpr std::size_t receiveSize = std::size_t{64} * 1024;

bool shouldTryAgain(int error) {
  return error == EAGAIN || error == EINTR;
}

}  // namespace

ClientConnection::ClientConnection(EventLoop& loop, FileDescriptor socket, Responder respond,
                                   std::function<void()> ended)
    : loop_(loop),
      socket_(std::move(socket)),
      respond_(std::move(respond)),
      ended_(std::move(ended)) {
  watchForMessage();
}

ClientConnection::~ClientConnection() {
  disconnect();
}

void ClientConnection::receive() {
  std::array<char, receiveSize> buffer;
  const ssize_t count = recv(socket_.get(), buffer.data(), buffer.size(), 0);
  if (count < 0 && shouldTryAgain(errno)) return;
  if (count <= 0) return end();
  reader_.append({buffer.data(), static_cast<std::size_t>(count)});
  serveNext();
}

void ClientConnection::serveNext() {
  try {
    const auto frame = reader_.next();
    if (!frame) return watchForMessage();
    if (frame->kind != FrameKind::request) return end();
    answer_ = respond_(decodeMessage(frame->payload));
  } catch (const PlatformError&) {
    return end();
  }
  watchForHangUp();
  if (answer_.delay.count() == 0) return carryOut();
  after(answer_.delay, &ClientConnection::carryOut);
}

void ClientConnection::carryOut() {
  if (answer_.ending == Answer::Ending::silence) return;
  if (answer_.ending == Answer::Ending::close) return end();
  const bool isReply = answer_.ending == Answer::Ending::reply;
  try {
    outgoing_ = encodeFrame(
        {isReply ? FrameKind::reply : FrameKind::error, std::exchange(answer_.bytes, {})});
  } catch (const PlatformError&) {
    return end();
  }
  outgoing_.resize(std::min(outgoing_.size(), answer_.truncation.value_or(outgoing_.size())));
  written_ = 0;
  transmit();
}

void ClientConnection::transmit() {
  while (written_ < outgoing_.size()) {
    const auto rest = std::string_view(outgoing_).substr(written_);
    const auto size = answer_.trickle ? 1 : rest.size();
    const ssize_t count = send(socket_.get(), rest.data(), size, MSG_NOSIGNAL);
    if (count < 0) return shouldTryAgain(errno) ? watchForRoom() : end();
    written_ += static_cast<std::size_t>(count);
    if (answer_.trickle && written_ < outgoing_.size()) {
      watchForHangUp();
      return after(*answer_.trickle, &ClientConnection::transmit);
    }
  }
  finishAnswer();
}

void ClientConnection::finishAnswer() {
  if (answer_.truncation) return end();
  outgoing_ = {};
  watchForHangUp();
  // By way of the loop, so that a client with many messages waiting lets the others in between.
  after({}, &ClientConnection::serveNext);
}

void ClientConnection::end() {
  disconnect();
  loop_.post(ended_);
}

void ClientConnection::watchForMessage() {
  loop_.watch(socket_.get(), POLLIN, [this](short) { receive(); });
}

void ClientConnection::watchForHangUp() {
  loop_.watch(socket_.get(), 0, [this](short) { end(); });
}

void ClientConnection::watchForRoom() {
  loop_.watch(socket_.get(), POLLOUT, [this](short) { transmit(); });
}

void ClientConnection::after(std::chrono::nanoseconds delay, void (ClientConnection::*step)()) {
  nextStep_ = loop_.makeWorkItem([this, step] { (this->*step)(); });
  loop_.schedule(nextStep_, std::chrono::duration<double>(delay).count());
}

void ClientConnection::disconnect() {
  if (nextStep_) nextStep_->cancel();
  if (socket_) loop_.unwatch(socket_.get());
  socket_.reset();
}

}  // namespace blindfold
