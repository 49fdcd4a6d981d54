#pragma once

#include <functional>
#include <memory>
#include <string>

#include "blindfold/platform/helper_protocol.h"
#include "blindfold/platform/platform_error.h"

namespace blindfold {

/// Takes the reply's bytes. A reply without data is empty bytes.
using ReplyHandler = std::function<void(Bytes)>;

/// Takes the platform's error for a message that could not be delivered or answered.
using ProxyErrorHandler = std::function<void(PlatformError)>;

/// The helper's end of a connection, as an object to send messages to. Owned by its receiver; it
/// keeps the platform's connection alive and is used only while the connection is valid.
class HelperProxy {
 public:
  HelperProxy() = default;
  HelperProxy(const HelperProxy&) = delete;
  HelperProxy& operator=(const HelperProxy&) = delete;
  virtual ~HelperProxy() = default;

  /// Sends `message`, whose argument is of the kind that its method takes, and returns without
  /// waiting. Later, on any thread, at most one of these is called: `reply`, which is not null, or
  /// the proxy's error handler. Neither is called when the helper stays silent or the connection
  /// ends. Throws `PlatformError` when the platform refuses at once; `reply` is not called then.
  virtual void send(HelperMessage message, ReplyHandler reply) = 0;
};

/// One connection to the helper's service, which speaks `BlindfoldXPCProtocol` (`helperProtocol`).
///
/// Calls: in the order below, from one thread at a time; `invalidate` from any thread, at any time
/// after construction. Every operation but `invalidate` throws `PlatformError` when the platform
/// refuses, and then has no effect.
///
/// Handlers: called on any thread, possibly several at once, from `resume` on, and never inside a
/// call of this class or of a proxy, so a caller may hold a lock while it calls. The connection
/// destroys its handlers, with what they capture, once it is invalid and its invalidation handler
/// has returned; destroying the connection earlier destroys them without calling them.
class HelperConnection {
 public:
  HelperConnection() = default;
  HelperConnection(const HelperConnection&) = delete;
  HelperConnection& operator=(const HelperConnection&) = delete;
  virtual ~HelperConnection() = default;

  /// `handler` runs at most once, when the connection becomes invalid: it could not be made, or
  /// `invalidate` was called.
  virtual void setInvalidationHandler(std::function<void()> handler) = 0;

  /// `handler` runs when the helper ends the connection while it is open.
  virtual void setInterruptionHandler(std::function<void()> handler) = 0;

  /// Starts the connection. Does not wait for the helper.
  virtual void resume() = 0;

  /// A proxy of the helper whose failures go to `errorHandler`; null when what the platform hands
  /// out is no proxy of the protocol.
  virtual std::unique_ptr<HelperProxy> remoteObjectProxy(ProxyErrorHandler errorHandler) = 0;

  /// Ends the connection: outstanding messages are not answered, and the invalidation handler runs
  /// later. Calling it again does nothing.
  virtual void invalidate() noexcept = 0;
};

/// Makes connections. Any thread may call.
class HelperConnectionProvider {
 public:
  HelperConnectionProvider() = default;
  HelperConnectionProvider(const HelperConnectionProvider&) = delete;
  HelperConnectionProvider& operator=(const HelperConnectionProvider&) = delete;
  virtual ~HelperConnectionProvider() = default;

  /// A new connection, not yet resumed, to the service `machServiceName` of the system domain (the
  /// privileged option), with `BlindfoldXPCProtocol` as the interface of the remote object. Throws
  /// `PlatformError` when the platform refuses.
  virtual std::shared_ptr<HelperConnection> makePrivilegedConnection(
      const std::string& machServiceName) = 0;
};

}  // namespace blindfold
