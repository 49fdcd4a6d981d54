#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "blindfold/platform/helper_connection.h"
#include "tests/support/call_log.h"

namespace blindfold {

/// A connection whose other end is the test: the test says when the helper replies, fails a message
/// or goes away, from any thread. It calls no handler from inside a call and releases all of them
/// once its invalidation has been delivered, as every connection promises.
class FakeHelperConnection final : public HelperConnection {
 public:
  /// Where a call is to be refused by the platform, and with what words.
  struct Refusal {
    std::string call;
    std::string description;
  };

  explicit FakeHelperConnection(CallLog& log) : log_(log) {}

  // Calls of the client.

  void setInvalidationHandler(std::function<void()> handler) override {
    enter("set the invalidation handler");
    const std::lock_guard guard(lock_);
    handlers_.invalidation = std::move(handler);
  }

  void setInterruptionHandler(std::function<void()> handler) override {
    enter("set the interruption handler");
    const std::lock_guard guard(lock_);
    handlers_.interruption = std::move(handler);
  }

  void resume() override { enter("resume"); }

  std::unique_ptr<HelperProxy> remoteObjectProxy(ProxyErrorHandler errorHandler) override {
    enter("make the proxy");
    if (!speaksProtocol) return nullptr;
    const std::lock_guard guard(lock_);
    handlers_.proxyError = std::move(errorHandler);
    return std::make_unique<Proxy>(*this);
  }

  void invalidate() noexcept override {
    log_.add("invalidate");
    const std::lock_guard guard(lock_);
    ++invalidations_;
  }

  // Events that the test causes as the system and the helper. Each calls the handler that the event
  // has, if the tool has set one by now and the connection still holds it.

  void becomeInvalid() const {
    if (const auto handler = handlers().invalidation) handler();
  }
  void interrupt() const {
    if (const auto handler = handlers().interruption) handler();
  }
  void failMessage(const std::string& description) const {
    if (const auto handler = handlers().proxyError) handler(PlatformError(description));
  }
  void reply(const Bytes& bytes) const {
    if (const auto handler = handlers().reply) handler(bytes);
  }

  /// Delivers the invalidation that `invalidate` asked for, and drops all handlers.
  void deliverInvalidation() {
    becomeInvalid();
    Handlers dropped;
    const std::lock_guard guard(lock_);
    std::swap(dropped, handlers_);
  }

  /// The message that was sent, if any.
  std::optional<HelperMessage> message() const {
    const std::lock_guard guard(lock_);
    return message_;
  }

  int invalidations() const {
    const std::lock_guard guard(lock_);
    return invalidations_;
  }

  /// Whether what the connection hands out is a proxy of the protocol.
  bool speaksProtocol = true;
  /// The call that throws, if one does.
  std::optional<Refusal> refusal;
  /// Runs on another thread while a call is under way, for events that arrive between two steps
  /// of a request.
  std::function<void(const std::string& call)> meanwhile;

 private:
  struct Handlers {
    std::function<void()> invalidation;
    std::function<void()> interruption;
    ProxyErrorHandler proxyError;
    ReplyHandler reply;
  };

  class Proxy final : public HelperProxy {
   public:
    explicit Proxy(FakeHelperConnection& connection) : connection_(connection) {}
    void send(HelperMessage message, ReplyHandler reply) override {
      connection_.enter("send " + std::string(describe(message.method).selector));
      const std::lock_guard guard(connection_.lock_);
      connection_.message_ = std::move(message);
      connection_.handlers_.reply = std::move(reply);
    }

   private:
    FakeHelperConnection& connection_;
  };

  void enter(const std::string& call) {
    log_.add(call);
    if (meanwhile) std::thread(meanwhile, call).join();
    if (refusal && refusal->call == call) throw PlatformError(refusal->description);
  }

  Handlers handlers() const {
    const std::lock_guard guard(lock_);
    return handlers_;
  }

  CallLog& log_;
  mutable std::mutex lock_;
  Handlers handlers_;
  std::optional<HelperMessage> message_;
  int invalidations_ = 0;
};

/// Makes `FakeHelperConnection`s and keeps them for the test to look at. Any thread may call.
class FakeHelperConnectionProvider final : public HelperConnectionProvider {
 public:
  explicit FakeHelperConnectionProvider(CallLog& log) : log_(log) {}

  std::shared_ptr<HelperConnection> makePrivilegedConnection(
      const std::string& machServiceName) override {
    log_.add("connect to " + machServiceName);
    if (refusal) throw PlatformError(*refusal);
    auto connection = std::make_shared<FakeHelperConnection>(log_);
    if (prepare) prepare(*connection);
    const std::lock_guard guard(lock_);
    connections_.push_back(connection);
    return connection;
  }

  /// The connections made so far, but for those that were taken.
  std::vector<std::shared_ptr<FakeHelperConnection>> connections() const {
    const std::lock_guard guard(lock_);
    return connections_;
  }

  /// Hands over the connections made so far.
  std::vector<std::shared_ptr<FakeHelperConnection>> takeConnections() {
    const std::lock_guard guard(lock_);
    return std::exchange(connections_, {});
  }

  /// Applied to every new connection.
  std::function<void(FakeHelperConnection&)> prepare;
  /// The words in which the platform refuses to make a connection, if it does.
  std::optional<std::string> refusal;

 private:
  CallLog& log_;
  mutable std::mutex lock_;
  std::vector<std::shared_ptr<FakeHelperConnection>> connections_;
};

}  // namespace blindfold
