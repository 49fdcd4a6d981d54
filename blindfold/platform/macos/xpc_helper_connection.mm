#include "blindfold/platform/macos/xpc_helper_connection.h"

#import <Foundation/Foundation.h>
#import <objc/runtime.h>

#include <utility>

#include "blindfold/platform/macos/blindfold_xpc_protocol.h"
#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/droppable_handler.h"
#include "blindfold/platform/macos/holders.h"
#include "blindfold/platform/macos/platform_call.h"

namespace blindfold {

namespace {

// A block that outlives its call is made in the function whose parameters it captures, never inside
// a lambda: what a lambda captures by reference, a block inside it would capture by reference too.
using HandlerBlock = void (^)(void);
using ErrorBlock = void (^)(NSError*);

/// Calls the method `selector` of `proxy`, which returns nothing, as the compiler calls a method
/// that it knows: the runtime's answer is the method itself, or what forwards to the helper.
template <typename... Arguments>
void sendTyped(id proxy, SEL selector, Arguments... arguments) {
  using Method = void (*)(id, SEL, Arguments...);
  const IMP method = class_getMethodImplementation(object_getClass(proxy), selector);
  reinterpret_cast<Method>(reinterpret_cast<void (*)()>(method))(proxy, selector, arguments...);
}

/// The object that carries `argument`: nil for an absent one, nothing at all for a text that is not
/// UTF-8.
std::optional<id> objectOf(const MessageArgument& argument) {
  if (const auto* data = std::get_if<DataArgument>(&argument)) return dataOf(data->bytes);
  const auto* text = std::get_if<TextArgument>(&argument);
  if (text == nullptr || !text->text) return nil;
  NSString* const string = stringOf(*text->text);
  return string == nil ? std::nullopt : std::optional<id>(string);
}

class XPCHelperProxy final : public HelperProxy {
 public:
  XPCHelperProxy(ObjectHolder<NSXPCConnection*> connection, ObjectHolder<id> proxy)
      : connection_(std::move(connection)), proxy_(std::move(proxy)) {}

  void send(HelperMessage message, ReplyHandler reply) override {
    const auto block = BlockHolder<BlindfoldReply>::copying(^(NSData* data) {
      reply(askPlatform([&] { return bytesOf(data); }));
    });
    const HelperMethodDescription& method = describe(message.method);
    const SEL selector = sel_registerName(std::string(method.selector).c_str());
    const bool sent = callPlatform([&] {
      const std::optional<id> argument = objectOf(message.argument);
      if (!argument) return false;
      if (method.argument == ArgumentKind::none) {
        sendTyped(proxy_.get(), selector, block.get());
      } else {
        sendTyped(proxy_.get(), selector, *argument, block.get());
      }
      return true;
    });
    if (!sent) throw PlatformError("The message's text is not valid UTF-8.");
  }

 private:
  ObjectHolder<NSXPCConnection*> connection_;
  ObjectHolder<id> proxy_;
};

/// What the blocks of a connection share with it, so that they hold neither the connection nor,
/// once it has ended, anything of its user's.
struct ConnectionHandlers {
  DroppableHandler invalidation;
  DroppableHandler interruption;
};

class XPCHelperConnection final : public HelperConnection {
 public:
  explicit XPCHelperConnection(ObjectHolder<NSXPCConnection*> connection)
      : connection_(std::move(connection)) {}

  ~XPCHelperConnection() override {
    handlers_->invalidation.drop();
    handlers_->interruption.drop();
    invalidateConnection();
  }

  void setInvalidationHandler(std::function<void()> handler) override {
    handlers_->invalidation.set(std::move(handler));
    const auto handlers = handlers_;
    const auto block = BlockHolder<HandlerBlock>::copying(^{
      handlers->invalidation.callOnce();
      handlers->interruption.drop();
    });
    callPlatform([&] { [connection_.get() setInvalidationHandler:block.get()]; });
  }

  void setInterruptionHandler(std::function<void()> handler) override {
    handlers_->interruption.set(std::move(handler));
    const auto handlers = handlers_;
    const auto block = BlockHolder<HandlerBlock>::copying(^{
      handlers->interruption.call();
    });
    callPlatform([&] { [connection_.get() setInterruptionHandler:block.get()]; });
  }

  void resume() override {
    callPlatform([&] { [connection_.get() resume]; });
  }

  std::unique_ptr<HelperProxy> remoteObjectProxy(ProxyErrorHandler errorHandler) override {
    const auto block = BlockHolder<ErrorBlock>::copying(^(NSError* error) {
      errorHandler(
          PlatformError(askPlatform([&] { return textOf([error localizedDescription]); })));
    });
    return callPlatform([&]() -> std::unique_ptr<HelperProxy> {
      const id proxy = [connection_.get() remoteObjectProxyWithErrorHandler:block.get()];
      if (![proxy conformsToProtocol:@protocol(BlindfoldXPCProtocol)]) return nullptr;
      return std::make_unique<XPCHelperProxy>(
          ObjectHolder<NSXPCConnection*>::retaining(connection_.get()),
          ObjectHolder<id>::retaining(proxy));
    });
  }

  void invalidate() noexcept override { invalidateConnection(); }

 private:
  void invalidateConnection() noexcept {
    askPlatform([&] { [connection_.get() invalidate]; });
  }

  ObjectHolder<NSXPCConnection*> connection_;
  std::shared_ptr<ConnectionHandlers> handlers_ = std::make_shared<ConnectionHandlers>();
};

}  // namespace

std::shared_ptr<HelperConnection> XPCHelperConnectionProvider::makePrivilegedConnection(
    const std::string& machServiceName) {
  auto connection = callPlatform([&] {
    auto made = ObjectHolder<NSXPCConnection*>::adopting([[NSXPCConnection alloc]
        initWithMachServiceName:stringOf(machServiceName)
                        options:NSXPCConnectionPrivileged]);
    [made.get()
        setRemoteObjectInterface:[NSXPCInterface
                                     interfaceWithProtocol:@protocol(BlindfoldXPCProtocol)]];
    return made;
  });
  if (!connection) throw PlatformError("The connection to the helper could not be made.");
  return std::make_shared<XPCHelperConnection>(std::move(connection));
}

}  // namespace blindfold
