#include "devhelper/linux/client_connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

#include "blindfold/platform/platform_error.h"

namespace blindfold {
namespace {
constexpr std::size_t receiveSize = std::size_t{32} * 1024;

static_assert(maximumAnswerSize == maximumFramePayload);
static_assert(maximumTruncation == frameHeaderSize + maximumFramePayload);

/// At most `size` bytes of `bytes`, after the first `offset`, as sendmsg(2) takes them.
iovec part(std::string_view bytes, std::size_t offset, std::size_t size) {
  const auto rest = bytes.substr(std::min(offset, bytes.size()), size);
  return {const_cast<char*>(rest.data()), rest.size()};
}
}  // namespace

bool ByteBudget::Share::add(std::size_t count) {
  if (count > budget_.left_) return false;
  budget_.left_ -= count;
  size_ += count;
  return true;
}

void ByteBudget::Share::subtract(std::size_t count) {
  assert(count <= size_);
  size_ -= count;
  budget_.left_ += count;
}

ClientConnection::ClientConnection(EventLoop& loop, FileDescriptor socket, ByteBudget& budget,
                                   Responder respond, std::function<void()> ended)
    : loop_(loop),
      socket_(std::move(socket)),
      respond_(std::move(respond)),
      ended_(std::move(ended)),
      readerShare_(budget),
      answerShare_(budget) {
  watchForMessage();
}

ClientConnection::~ClientConnection() {
  disconnect();
}

/// Ends the connection where the step fails. Other clients then have its memory.
void ClientConnection::perform(Step step) {
  try {
    (this->*step)();
  } catch (const PlatformError&) {
    end();
  } catch (const std::bad_alloc&) {
    end();
  }
}

void ClientConnection::receive() {
  std::array<char, receiveSize> buffer;
  const ssize_t count = recv(socket_.get(), buffer.data(), buffer.size(), 0);
  if (count < 0 && shouldTryAgain(errno)) return;
  if (count <= 0) return end();
  const auto size = static_cast<std::size_t>(count);
  if (!readerShare_.add(size)) return end();
  reader_.append({buffer.data(), size});
  serveNext();
}

void ClientConnection::serveNext() {
  auto frame = reader_.next();
  if (!frame) return watchForMessage();
  if (frame->kind != FrameKind::request) return end();
  const auto size = frameHeaderSize + frame->payload.size();
  const auto message = decodeMessage(std::exchange(frame->payload, {}));
  answer_ = respond_(message);
  readerShare_.subtract(size);
  watchForHangUp();
  if (answer_.delay.count() == 0) return carryOut();
  after(answer_.delay, &ClientConnection::carryOut);
}

void ClientConnection::carryOut() {
  if (answer_.ending == Answer::Ending::silence) return;
  if (answer_.ending == Answer::Ending::close) return end();
  const auto bytes = answer_.bytes.view();
  if (!answer_.bytes.isShared() && !answerShare_.add(bytes.size())) return end();
  const bool isReply = answer_.ending == Answer::Ending::reply;
  header_ = encodeFrameHeader(isReply ? FrameKind::reply : FrameKind::error, bytes.size());
  frameSize_ = std::min(header_.size() + bytes.size(), answer_.truncation.value_or(SIZE_MAX));
  written_ = 0;
  transmit();
}

/// Sends once, so that a client that reads fast lets the others in between.
void ClientConnection::transmit() {
  if (written_ < frameSize_) {
    const ssize_t count = sendRest();
    if (count < 0 && !shouldTryAgain(errno)) return end();
    written_ += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  }
  if (written_ == frameSize_) return finishAnswer();
  if (!answer_.trickle) return watchFor(POLLOUT, &ClientConnection::transmit);
  watchForHangUp();
  after(*answer_.trickle, &ClientConnection::transmit);
}

/// Sends what the socket takes of the answer's frame. Returns what sendmsg(2) returns.
ssize_t ClientConnection::sendRest() {
  const std::size_t size = answer_.trickle ? 1 : frameSize_ - written_;
  std::array<iovec, 2> parts{};
  parts[0] = part(header_, written_, size);
  parts[1] = part(answer_.bytes.view(), written_ - std::min(written_, header_.size()),
                  size - parts[0].iov_len);
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = parts.size();
  return sendmsg(socket_.get(), &message, MSG_NOSIGNAL);
}

void ClientConnection::finishAnswer() {
  if (answer_.truncation) return end();
  answer_ = {};
  answerShare_.clear();
  watchForHangUp();
  // By way of the loop, so that a client with many messages waiting lets the others in between.
  after({}, &ClientConnection::serveNext);
}

void ClientConnection::end() {
  disconnect();
  loop_.post(ended_);
}

void ClientConnection::watchFor(short events, Step step) {
  loop_.watch(socket_.get(), events, [this, step](short) { perform(step); });
}

void ClientConnection::watchForMessage() {
  watchFor(POLLIN, &ClientConnection::receive);
}

void ClientConnection::watchForHangUp() {
  watchFor(0, &ClientConnection::end);
}

void ClientConnection::after(std::chrono::nanoseconds delay, Step step) {
  nextStep_ = loop_.schedule(delay, [this, step] { perform(step); });
}

void ClientConnection::disconnect() {
  if (nextStep_) nextStep_->cancel();
  if (socket_) loop_.unwatch(socket_.get());
  socket_.reset();
  reader_ = {};
  answer_ = {};
  readerShare_.clear();
  answerShare_.clear();
}

}  // namespace blindfold
