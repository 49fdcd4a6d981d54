#include "blindfold/platform/linux/linux_helper_connection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/linux/service_socket.h"
#include "blindfold/platform/posix/file_descriptor.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
/// The delay before the next attempt to connect to a socket whose queue of connections is full.
constexpr auto connectionRetryDelay = std::chrono::milliseconds(10);

constexpr std::size_t receiveBufferSize = std::size_t{32} * 1024;

/// The standard streams may be closed; a socket must not take the place of one of them.
FileDescriptor openSocket() {
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket || socket.get() > STDERR_FILENO) return socket;
  return FileDescriptor(fcntl(socket.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

/// The id that user_namespaces(7) reports for every user who has none in this process's namespace,
/// unless the administrator has changed it (kernel.overflowuid).
constexpr uid_t overflowUser = 65534;

/// Whether every user has an id in this process's user namespace, as in the initial one.
bool everyUserIsMapped() {
  constexpr std::size_t maximumMapSize = 65'536;
  const FileDescriptor file(open("/proc/self/uid_map", O_RDONLY | O_CLOEXEC));
  auto map = readToEnd(file, maximumMapSize).value_or("");
  std::erase(map, ' ');
  return map == "004294967295\n";  // 4294967295 users from 0 on, and their ids from 0 on.
}

/// Whether the helper is run by root or by the user of this program. A user without an id of its
/// own is not told from others and so not trusted.
bool peerIsTrusted(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
  if (peer.uid == 0) return true;
  return peer.uid == geteuid() && (peer.uid != overflowUser || everyUserIsMapped());
}

/// The payload of the frame for `message`. Throws `PlatformError` when no frame takes it.
Bytes requestPayload(const HelperMessage& message) {
  Bytes payload = encodeMessage(message);
  if (payload.size() <= maximumFramePayload) return payload;
  const std::string selector(describe(message.method).selector);
  throw PlatformError("The request " + selector + " is larger than 64 MiB.");
}

/// The end of a call: the reply's bytes, or the error in their place.
using Answer = std::variant<Bytes, PlatformError>;

bool isErrorText(std::string_view bytes) {
  return isValidUTF8(bytes, [](char32_t scalar) { return scalar != 0; });
}

/// Throws `PlatformError` when the frame is no answer.
Answer answerIn(Frame frame) {
  if (frame.kind == FrameKind::reply) return std::move(frame.payload);
  if (frame.kind == FrameKind::request) throw platformError(FrameFault::notAnAnswer);
  if (!isErrorText(frame.payload)) throw platformError(FrameFault::errorNotText);
  return PlatformError(frame.payload);
}

class LinuxHelperConnection final : public HelperConnection,
                                    public std::enable_shared_from_this<LinuxHelperConnection> {
 public:
  LinuxHelperConnection(EventLoop& loop, std::string serviceName)
      : loop_(loop), serviceName_(std::move(serviceName)) {}
  LinuxHelperConnection(const LinuxHelperConnection&) = delete;
  LinuxHelperConnection& operator=(const LinuxHelperConnection&) = delete;
  ~LinuxHelperConnection() override { closeSocket(); }

  void setInvalidationHandler(std::function<void()> handler) override {
    onServer([handler = std::move(handler)](LinuxHelperConnection& self) mutable {
      self.invalidationHandler_ = std::move(handler);
    });
  }

  void setInterruptionHandler(std::function<void()> handler) override {
    onServer([handler = std::move(handler)](LinuxHelperConnection& self) mutable {
      self.interruptionHandler_ = std::move(handler);
    });
  }

  void resume() override;
  std::unique_ptr<HelperProxy> remoteObjectProxy(ProxyErrorHandler errorHandler) override;
  void invalidate() noexcept override {
    onServer([](LinuxHelperConnection& self) { self.becomeInvalid(); });
  }

  /// Sends the connection's one message.
  void send(const HelperMessage& message, ReplyHandler reply, ProxyErrorHandler errorHandler);

 private:
  /// Runs `work` on the loop's server, where all of the connection's state is used.
  template <class Work>
  void onServer(Work work) {
    loop_.perform([self = shared_from_this(), work = std::move(work)]() mutable { work(*self); });
  }

  void start();
  void connect();
  void startTalking();
  void transmit();
  void watchFor(short events);
  void serve(short revents);
  void receive();
  std::optional<Answer> nextAnswer();
  void deliver(Answer answer);
  void becomeInterrupted();
  void becomeInvalid();
  void finish();
  void closeSocket();

  EventLoop& loop_;
  const std::string serviceName_;
  std::function<void()> invalidationHandler_;
  std::function<void()> interruptionHandler_;
  bool isResumed_ = false;
  bool isInvalid_ = false;
  bool hasMessage_ = false;

  std::shared_ptr<WorkItem> nextTry_;
  FileDescriptor socket_;     ///< From `resume` until the connection ends.
  bool isConnected_ = false;  ///< To a peer that is trusted.
  short watchedEvents_ = 0;   ///< Of the socket; 0 while it is not watched.
  Bytes outgoing_;
  std::size_t written_ = 0;  ///< Of `outgoing_`.
  FrameReader reader_;
  ReplyHandler replyHandler_;  ///< While the message's answer is outstanding.
  ProxyErrorHandler errorHandler_;
};

class LinuxHelperProxy final : public HelperProxy {
 public:
  LinuxHelperProxy(std::shared_ptr<LinuxHelperConnection> connection,
                   ProxyErrorHandler errorHandler)
      : connection_(std::move(connection)), errorHandler_(std::move(errorHandler)) {}

  void send(HelperMessage message, ReplyHandler reply) override {
    connection_->send(message, std::move(reply), errorHandler_);
  }

 private:
  const std::shared_ptr<LinuxHelperConnection> connection_;
  const ProxyErrorHandler errorHandler_;
};

void LinuxHelperConnection::resume() {
  onServer([](LinuxHelperConnection& self) { self.start(); });
}

void LinuxHelperConnection::start() {
  if (isInvalid_ || std::exchange(isResumed_, true)) return;
  socket_ = openSocket();
  connect();
}

void LinuxHelperConnection::connect() {
  if (!isServiceName(serviceName_) || !socket_) return becomeInvalid();
  const ServiceSocketAddress address(serviceName_);
  if (::connect(socket_.get(), address.get(), address.size()) == 0) return startTalking();
  if (!shouldTryAgain(errno)) return becomeInvalid();
  nextTry_ = loop_.schedule(connectionRetryDelay, [connection = weak_from_this()] {
    if (const auto self = connection.lock()) self->connect();
  });
}

void LinuxHelperConnection::startTalking() {
  if (!peerIsTrusted(socket_.get())) return becomeInvalid();
  isConnected_ = true;
  transmit();
}

std::unique_ptr<HelperProxy> LinuxHelperConnection::remoteObjectProxy(
    ProxyErrorHandler errorHandler) {
  return std::make_unique<LinuxHelperProxy>(shared_from_this(), std::move(errorHandler));
}

void LinuxHelperConnection::send(const HelperMessage& message, ReplyHandler reply,
                                 ProxyErrorHandler errorHandler) {
  onServer([frame = encodeFrame({FrameKind::request, requestPayload(message)}),
            reply = std::move(reply),
            errorHandler = std::move(errorHandler)](LinuxHelperConnection& self) mutable {
    assert(!self.hasMessage_ && "a connection carries one message");
    self.hasMessage_ = true;
    if (!self.socket_) return;  // A handler reports the end of the connection.
    self.outgoing_ = std::move(frame);
    self.replyHandler_ = std::move(reply);
    self.errorHandler_ = std::move(errorHandler);
    if (self.isConnected_) self.transmit();
  });
}

/// Writes what the socket takes, and waits for room for the rest and for what the helper says.
void LinuxHelperConnection::transmit() {
  const std::string_view rest = std::string_view(outgoing_).substr(written_);
  if (!rest.empty()) {
    const ssize_t count = ::send(socket_.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
    if (count >= 0) {
      written_ += static_cast<std::size_t>(count);
    } else if (!shouldTryAgain(errno)) {
      // The helper may have answered before it stopped listening: what has arrived is still read,
      // and the end of the stream follows it.
      shutdown(socket_.get(), SHUT_RDWR);
      written_ = outgoing_.size();
    }
  }
  const bool isWritten = written_ == outgoing_.size();
  watchFor(isWritten ? POLLIN : POLLIN | POLLOUT);
}

void LinuxHelperConnection::watchFor(short events) {
  if (events == watchedEvents_) return;
  watchedEvents_ = events;
  loop_.watch(socket_.get(), events, [connection = weak_from_this()](short revents) {
    // Kept alive meanwhile: a handler may release the connection.
    if (const auto self = connection.lock()) self->serve(revents);
  });
}

void LinuxHelperConnection::serve(short revents) {
  if ((revents & ~POLLOUT) != 0) receive();
  if ((revents & POLLOUT) != 0 && socket_) transmit();
}

void LinuxHelperConnection::receive() {
  std::array<char, receiveBufferSize> buffer;
  const ssize_t count = recv(socket_.get(), buffer.data(), buffer.size(), 0);
  if (count < 0 && shouldTryAgain(errno)) return;
  // The end of the stream, or bytes where no answer is outstanding.
  if (count <= 0 || !replyHandler_) return becomeInterrupted();
  reader_.append({buffer.data(), static_cast<std::size_t>(count)});
  auto answer = nextAnswer();
  if (answer) deliver(std::move(*answer));
}

std::optional<Answer> LinuxHelperConnection::nextAnswer() {
  try {
    auto frame = reader_.next();
    if (!frame) return std::nullopt;
    return answerIn(std::move(*frame));
  } catch (const PlatformError& error) {
    closeSocket();
    return error;
  }
}

void LinuxHelperConnection::deliver(Answer answer) {
  const auto replyHandler = std::exchange(replyHandler_, nullptr);
  const auto errorHandler = std::exchange(errorHandler_, nullptr);
  if (auto* const bytes = std::get_if<Bytes>(&answer)) {
    replyHandler(std::move(*bytes));
  } else {
    errorHandler(std::get<PlatformError>(std::move(answer)));
  }
}

void LinuxHelperConnection::becomeInterrupted() {
  closeSocket();
  const auto handler = std::exchange(interruptionHandler_, nullptr);
  if (handler) handler();
}

/// The caller may hold a lock that the handler takes, so the handler waits for the loop.
void LinuxHelperConnection::becomeInvalid() {
  if (std::exchange(isInvalid_, true)) return;
  closeSocket();
  loop_.schedule({}, [connection = weak_from_this()] {
    if (const auto self = connection.lock()) self->finish();
  });
}

/// Runs the invalidation handler and destroys every handler.
void LinuxHelperConnection::finish() {
  const auto invalidationHandler = std::exchange(invalidationHandler_, nullptr);
  const auto interruptionHandler = std::exchange(interruptionHandler_, nullptr);
  const auto replyHandler = std::exchange(replyHandler_, nullptr);
  const auto errorHandler = std::exchange(errorHandler_, nullptr);
  if (invalidationHandler) invalidationHandler();
}

void LinuxHelperConnection::closeSocket() {
  if (nextTry_) nextTry_->cancel();
  if (std::exchange(watchedEvents_, 0) != 0) loop_.unwatch(socket_.get());
  socket_.reset();
  isConnected_ = false;
}
}  // namespace

std::shared_ptr<HelperConnection> LinuxHelperConnectionProvider::makePrivilegedConnection(
    const std::string& machServiceName) {
  return std::make_shared<LinuxHelperConnection>(loop_, machServiceName);
}

}  // namespace blindfold
