#import <Foundation/Foundation.h>

#include <cassert>
#include <utility>
#include <variant>

#include "blindfold/platform/macos/blindfold_xpc_protocol.h"
#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/droppable_handler.h"
#include "blindfold/platform/macos/macos_platform.h"
#include "blindfold/platform/macos/platform_call.h"
#include "blindfold/platform/macos/scoped_reference.h"
#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
/// A block that outlives its call is made in the function whose parameters it captures, never
/// inside a lambda: what a lambda captures by reference, a block inside it would capture by
/// reference too.
using HandlerBlock = void (^)(void);
using ErrorBlock = void (^)(NSError*);

/// The data of a message whose method takes data.
NSData* dataArgument(const HelperMessage& message) {
  const auto* argument = std::get_if<DataArgument>(&message.argument);
  assert(argument != nullptr);
  return dataOf(argument->bytes);
}

/// The text of a message whose method takes text, or nil when it is absent.
NSString* textArgument(const HelperMessage& message) {
  const auto* argument = std::get_if<TextArgument>(&message.argument);
  assert(argument != nullptr);
  return argument->text ? stringOf(*argument->text) : nil;
}

void sendMessage(id<BlindfoldXPCProtocol> helper, const HelperMessage& message,
                 BlindfoldReply reply) {
  switch (message.method) {
    case HelperMethod::beginPresence:
      return [helper beginPresence:reply];
    case HelperMethod::installStatus:
      return [helper installStatus:reply];
    case HelperMethod::detectTargets:
      return [helper detectTargets:reply];
    case HelperMethod::hold:
      return [helper hold:dataArgument(message) withReply:reply];
    case HelperMethod::renew:
      return [helper renew:textArgument(message) withReply:reply];
    case HelperMethod::release:
      return [helper release:textArgument(message) withReply:reply];
    case HelperMethod::restoreAll:
      return [helper restoreAll:reply];
    case HelperMethod::muteMic:
      return [helper muteMic:reply];
    case HelperMethod::unmuteMic:
      return [helper unmuteMic:reply];
    case HelperMethod::currentState:
      return [helper currentState:reply];
  }
}

class XPCHelperProxy final : public HelperProxy {
 public:
  XPCHelperProxy(ObjectReference<NSXPCConnection*> connection,
                 ObjectReference<id<BlindfoldXPCProtocol>> helper)
      : connection_(std::move(connection)), helper_(std::move(helper)) {}

  void send(HelperMessage message, ReplyHandler reply) override {
    const auto* argument = std::get_if<TextArgument>(&message.argument);
    if (argument != nullptr && argument->text && !isValidUTF8(*argument->text)) {
      throw PlatformError("The message's text is not valid UTF-8.");
    }
    const auto block = BlockReference<BlindfoldReply>::retaining(^(NSData* data) {
      reply(askPlatform([&] { return bytesOf(data); }));
    });
    callPlatform([&] { sendMessage(helper_.get(), message, block.get()); });
  }

 private:
  ObjectReference<NSXPCConnection*> connection_;
  ObjectReference<id<BlindfoldXPCProtocol>> helper_;
};

/// The state that the blocks of a connection share with it: they own neither the connection nor,
/// once it has ended, anything that its handlers capture.
struct ConnectionHandlers {
  DroppableHandler invalidation;
  DroppableHandler interruption;
};

class XPCHelperConnection final : public HelperConnection {
 public:
  explicit XPCHelperConnection(ObjectReference<NSXPCConnection*> connection)
      : connection_(std::move(connection)) {}

  /// Resumes the connection if nobody has: releasing the last reference to a suspended connection
  /// aborts the process, invalidated or not.
  ~XPCHelperConnection() override {
    handlers_->invalidation.drop();
    handlers_->interruption.drop();
    if (!resumed_) askPlatform([&] { [connection_.get() resume]; });
    invalidateConnection();
  }

  /// Part of making the connection; an exception leaves one that is destroyed like any other.
  void setRemoteObjectInterface() {
    callPlatform([&] {
      [connection_.get()
          setRemoteObjectInterface:[NSXPCInterface
                                       interfaceWithProtocol:@protocol(BlindfoldXPCProtocol)]];
    });
  }

  void setInvalidationHandler(std::function<void()> handler) override {
    handlers_->invalidation.set(std::move(handler));
    const auto handlers = handlers_;
    const auto block = BlockReference<HandlerBlock>::retaining(^{
      handlers->invalidation.callOnce();
      handlers->interruption.drop();
    });
    callPlatform([&] { [connection_.get() setInvalidationHandler:block.get()]; });
  }

  void setInterruptionHandler(std::function<void()> handler) override {
    handlers_->interruption.set(std::move(handler));
    const auto handlers = handlers_;
    const auto block = BlockReference<HandlerBlock>::retaining(^{
      handlers->interruption.call();
    });
    callPlatform([&] { [connection_.get() setInterruptionHandler:block.get()]; });
  }

  void resume() override {
    callPlatform([&] { [connection_.get() resume]; });
    resumed_ = true;
  }

  std::unique_ptr<HelperProxy> remoteObjectProxy(ProxyErrorHandler errorHandler) override {
    const auto block = BlockReference<ErrorBlock>::retaining(^(NSError* error) {
      errorHandler(
          PlatformError(askPlatform([&] { return textOf([error localizedDescription]); })));
    });
    return callPlatform([&]() -> std::unique_ptr<HelperProxy> {
      const id proxy = [connection_.get() remoteObjectProxyWithErrorHandler:block.get()];
      if (![proxy conformsToProtocol:@protocol(BlindfoldXPCProtocol)]) return nullptr;
      return std::make_unique<XPCHelperProxy>(
          ObjectReference<NSXPCConnection*>::retaining(connection_.get()),
          ObjectReference<id<BlindfoldXPCProtocol>>::retaining(proxy));
    });
  }

  void invalidate() noexcept override { invalidateConnection(); }

 private:
  void invalidateConnection() noexcept {
    askPlatform([&] { [connection_.get() invalidate]; });
  }

  ObjectReference<NSXPCConnection*> connection_;
  std::shared_ptr<ConnectionHandlers> handlers_ = std::make_shared<ConnectionHandlers>();
  bool resumed_ = false;
};
}  // namespace

std::shared_ptr<HelperConnection> XPCHelperConnectionProvider::makePrivilegedConnection(
    const std::string& machServiceName) {
  auto made = callPlatform([&] {
    return ObjectReference<NSXPCConnection*>::adopting([[NSXPCConnection alloc]
        initWithMachServiceName:stringOf(machServiceName)
                        options:NSXPCConnectionPrivileged]);
  });
  if (!made) throw PlatformError("The connection to the helper could not be made.");
  auto connection = std::make_shared<XPCHelperConnection>(std::move(made));
  connection->setRemoteObjectInterface();
  return connection;
}

}  // namespace blindfold
