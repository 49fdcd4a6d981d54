#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "blindfold/platform/helper_protocol.h"
#include "blindfold/platform/platform_error.h"

namespace blindfold {

/// Raw bytes, JSON documents mostly. Not text: it may hold anything the other side sent.
using Bytes = std::string;

/// No argument beside the reply block.
struct NoArgument {
  bool operator==(const NoArgument&) const = default;
};

/// A byte buffer.
struct DataArgument {
  Bytes bytes;
  bool operator==(const DataArgument&) const = default;
};

/// A text (UTF-8), or none where the method's text is optional.
struct TextArgument {
  std::optional<std::string> text;
  bool operator==(const TextArgument&) const = default;
};

using MessageArgument = std::variant<NoArgument, DataArgument, TextArgument>;

/// One call of one method. The argument's kind must be the one of the method's row.
struct HelperMessage {
  HelperMethod method;
  MessageArgument argument;

  bool operator==(const HelperMessage&) const = default;
};

/// Takes the reply's bytes. A reply without data is empty bytes.
using ReplyHandler = std::function<void(Bytes)>;

/// Takes the platform's error for a message that could not be delivered or answered.
using ProxyErrorHandler = std::function<void(PlatformError)>;

/// The helper, as an object to send messages to. It keeps its connection's platform object alive
/// and is used while the connection is valid.
class HelperProxy {
 public:
  HelperProxy() = default;
  HelperProxy(const HelperProxy&) = delete;
  HelperProxy& operator=(const HelperProxy&) = delete;
  virtual ~HelperProxy() = default;

  /// Sends `message` and returns without waiting. Later, on any thread, exactly one of these
  /// follows, or nothing at all when the helper stays silent: `reply`, the proxy's error handler,
  /// or one of the connection's handlers. Throws `PlatformError` when the platform refuses at once.
  virtual void send(HelperMessage message, ReplyHandler reply) = 0;
};

/// One connection to the helper's service.
///
/// Calls: in the order below, from one thread at a time; `invalidate` from any thread, at any time
/// after construction. Every operation throws `PlatformError` when the platform refuses.
///
/// Handlers: called on any thread, several at once perhaps, from `resume` on. No handler is ever
/// called from inside a call of this class or of a proxy, so a caller may hold a lock while it
/// calls. A connection lets go of every handler, and so of what the handler captures, once it is
/// invalid and its invalidation handler has run; destroying it before that only drops them.
class HelperConnection {
 public:
  HelperConnection() = default;
  HelperConnection(const HelperConnection&) = delete;
  HelperConnection& operator=(const HelperConnection&) = delete;
  virtual ~HelperConnection() = default;

  /// Says that the helper speaks `BlindfoldXPCProtocol` (`helperProtocol`).
  virtual void setRemoteObjectInterface() = 0;

  /// `handler` runs at most once, when the connection becomes invalid: it could not be made, or
  /// `invalidate` was called.
  virtual void setInvalidationHandler(std::function<void()> handler) = 0;

  /// `handler` runs when the helper goes away while the connection is open.
  virtual void setInterruptionHandler(std::function<void()> handler) = 0;

  /// Starts the connection. Does not wait for the helper.
  virtual void resume() = 0;

  /// A proxy of the helper whose failures go to `errorHandler`; null when what the platform hands
  /// out cannot be used as a proxy of the protocol.
  virtual std::unique_ptr<HelperProxy> remoteObjectProxy(ProxyErrorHandler errorHandler) = 0;

  /// Ends the connection: outstanding messages are given up, and the invalidation handler runs
  /// later. Calling it again does nothing. Never throws.
  virtual void invalidate() noexcept = 0;
};

/// Where connections come from. Any thread may call.
class HelperConnectionProvider {
 public:
  HelperConnectionProvider() = default;
  HelperConnectionProvider(const HelperConnectionProvider&) = delete;
  HelperConnectionProvider& operator=(const HelperConnectionProvider&) = delete;
  virtual ~HelperConnectionProvider() = default;

  /// A new connection, not yet started, to the service `machServiceName` of the system domain (the
  /// privileged option). Throws `PlatformError` when the platform makes none.
  virtual std::shared_ptr<HelperConnection> makePrivilegedConnection(
      const std::string& machServiceName) = 0;
};

}  // namespace blindfold
