#include "in_process_service.h"

#import <Block.h>
#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>
#import <objc/runtime.h>

#include <cstdio>
#include <cstdlib>
#include <latch>
#include <map>
#include <memory>
#include <utility>

#include "blindfold/platform/macos/blindfold_xpc_protocol.h"
#include "blindfold/platform/macos/conversion.h"

using ErrorHandler = void (^)(NSError*);
using ConnectionHandler = void (^)(void);

namespace blindfold {

/// What one `NSXPCConnection` holds. GNUstep declares the class without any of its state.
struct Peer {
  InProcessService::Connection connection;
  ConnectionHandler invalidation = nullptr;
  ConnectionHandler interruption = nullptr;
  ErrorHandler proxyError = nullptr;
};

/// What the platform's methods below do with the service.
class InProcessCalls {
 public:
  static void mayRaise(const char* selector) {
    auto& service = InProcessService::shared();
    std::string reason;
    {
      const std::lock_guard lock(service.mutex_);
      if (service.raisingSelector_ != selector) return;
      service.raisingSelector_.clear();
      reason = service.raisingReason_;
    }
    [NSException raise:NSInternalInconsistencyException format:@"%s", reason.c_str()];
  }

  static ProxyKind proxyKind() {
    auto& service = InProcessService::shared();
    const std::lock_guard lock(service.mutex_);
    return service.proxyKind_;
  }

  static void receive(SEL selector, id argument, BlindfoldReply reply);

  /// Runs `change` on the state of `connection`, with every other connection's locked out.
  template <class Change>
  static auto with(NSXPCConnection* connection, const Change& change) {
    const std::lock_guard lock(state().mutex);
    return change(state().peers[connection]);
  }

  /// A retained reference to the last connection made.
  static NSXPCConnection* retainLast() {
    const std::lock_guard lock(state().mutex);
    return [state().last retain];
  }

  static void add(NSXPCConnection* connection) {
    const std::lock_guard lock(state().mutex);
    state().peers[connection] = Peer();
    state().last = connection;
  }

  static Peer remove(NSXPCConnection* connection) {
    const std::lock_guard lock(state().mutex);
    Peer peer = std::move(state().peers[connection]);
    state().peers.erase(connection);
    if (state().last == connection) state().last = nil;
    return peer;
  }

  static void setProtocol(NSXPCInterface* interface, Protocol* protocol) {
    const std::lock_guard lock(state().mutex);
    state().protocols[interface] = protocol;
  }
  static void removeInterface(NSXPCInterface* interface) {
    const std::lock_guard lock(state().mutex);
    state().protocols.erase(interface);
  }
  static Protocol* protocolOf(NSXPCInterface* interface) {
    const std::lock_guard lock(state().mutex);
    return state().protocols[interface];
  }

  static int count() {
    const std::lock_guard lock(state().mutex);
    return static_cast<int>(state().peers.size());
  }

 private:
  struct State {
    std::mutex mutex;
    std::map<NSXPCConnection*, Peer> peers;
    std::map<NSXPCInterface*, Protocol*> protocols;
    NSXPCConnection* last = nil;
  };

  /// Never destroyed: the queue's threads use it while the process exits.
  static State& state() {
    static State& made = *std::make_unique<State>().release();
    return made;
  }
};

namespace {

dispatch_queue_t queue() {
  return dispatch_get_global_queue(QOS_CLASS_UTILITY, 0);
}

MessageArgument argumentOf(ArgumentKind kind, id argument) {
  if (kind == ArgumentKind::none) return NoArgument{};
  if (kind == ArgumentKind::data) return DataArgument{bytesOf(static_cast<NSData*>(argument))};
  if (argument == nil) return TextArgument{std::nullopt};
  return TextArgument{textOf(static_cast<NSString*>(argument))};
}

template <class Block>
void releaseIfAny(Block block) {
  if (block != nullptr) Block_release(block);
}

}  // namespace

void InProcessCalls::receive(SEL selector, id argument, BlindfoldReply reply) {
  auto& service = InProcessService::shared();
  const HelperMethod method = *helperMethodWithSelector(sel_getName(selector));
  const HelperMessage message{method, argumentOf(describe(method).argument, argument)};
  const std::shared_ptr<void> kept(reinterpret_cast<void*>(Block_copy(reply)),
                                   [](void* block) { Block_release(block); });
  std::function<void(HelperMessage, InProcessService::Reply)> answer;
  {
    const std::lock_guard lock(service.mutex_);
    service.received_.push_back(message);
    answer = service.answer_;
  }
  answer(message, [kept](std::optional<Bytes> bytes) {
    dispatch_async(queue(), ^{
      @autoreleasepool {
        reinterpret_cast<BlindfoldReply>(kept.get())(bytes ? dataOf(*bytes) : nil);
      }
    });
  });
}

}  // namespace blindfold

using blindfold::InProcessCalls;
using blindfold::Peer;

/// The helper, in this process.
@interface InProcessHelper : NSObject <BlindfoldXPCProtocol>
@end

@implementation InProcessHelper

- (void)beginPresence:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, nil, reply);
}
- (void)installStatus:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, nil, reply);
}
- (void)detectTargets:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, nil, reply);
}
- (void)hold:(NSData*)request withReply:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, request, reply);
}
- (void)renew:(NSString*)leaseIdentifier withReply:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, leaseIdentifier, reply);
}
- (void)release:(NSString*)leaseIdentifier withReply:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, leaseIdentifier, reply);
}
- (void)restoreAll:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, nil, reply);
}
- (void)muteMic:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, nil, reply);
}
- (void)unmuteMic:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, nil, reply);
}
- (void)currentState:(BlindfoldReply)reply {
  InProcessCalls::receive(_cmd, nil, reply);
}

@end

namespace {

/// Calls the helper's method later, on another thread.
void callHelper(SEL selector, id argument, BlindfoldReply reply) {
  InProcessCalls::mayRaise(sel_getName(selector));
  [argument retain];
  dispatch_async(blindfold::queue(), ^{
    @autoreleasepool {
      InProcessHelper* const helper = [[[InProcessHelper alloc] init] autorelease];
      const auto method = reinterpret_cast<void (*)()>([helper methodForSelector:selector]);
      const auto& row =
          blindfold::describe(*blindfold::helperMethodWithSelector(sel_getName(selector)));
      if (row.argument == blindfold::ArgumentKind::none) {
        reinterpret_cast<void (*)(id, SEL, BlindfoldReply)>(method)(helper, selector, reply);
      } else {
        reinterpret_cast<void (*)(id, SEL, id, BlindfoldReply)>(method)(helper, selector, argument,
                                                                        reply);
      }
      [argument release];
    }
  });
}

void passOn(id, SEL selector, BlindfoldReply reply) {
  callHelper(selector, nil, reply);
}

void passOnArgument(id, SEL selector, id argument, BlindfoldReply reply) {
  callHelper(selector, argument, reply);
}

}  // namespace

/// A proxy: it has the methods of its protocol only at run time.
@interface InProcessProxy : NSObject {
  BOOL conforms;
}
- (id)initConforming:(BOOL)yes;
@end

@implementation InProcessProxy

+ (void)initialize {
  for (const auto& row : blindfold::helperProtocol) {
    const bool plain = row.argument == blindfold::ArgumentKind::none;
    const auto method =
        plain ? reinterpret_cast<void (*)()>(passOn) : reinterpret_cast<void (*)()>(passOnArgument);
    class_addMethod(self, sel_registerName(std::string(row.selector).c_str()),
                    reinterpret_cast<IMP>(method), plain ? "v@:@" : "v@:@@");
  }
}

- (id)initConforming:(BOOL)yes {
  self = [super init];
  conforms = yes;
  return self;
}

- (BOOL)conformsToProtocol:(Protocol*)protocol {
  return conforms && protocol_isEqual(protocol, @protocol(BlindfoldXPCProtocol));
}

@end

/// The methods that GNUstep declares and leaves out.
@interface NSXPCConnection (InProcess)
@end

@implementation NSXPCConnection (InProcess)

- (instancetype)initWithMachServiceName:(NSString*)name options:(NSXPCConnectionOptions)options {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  self = [super init];
  InProcessCalls::add(self);
  InProcessCalls::with(self, [&](Peer& peer) {
    peer.connection.name = blindfold::textOf(name);
    peer.connection.options = options;
  });
  return self;
}

/// Aborts the process as the system does when the last reference to a suspended connection goes.
- (void)dealloc {
  const Peer peer = InProcessCalls::remove(self);
  if (!peer.connection.resumed) {
    std::fputs("The last reference to a suspended connection was released.\n", stderr);
    std::abort();
  }
  blindfold::releaseIfAny(peer.invalidation);
  blindfold::releaseIfAny(peer.interruption);
  blindfold::releaseIfAny(peer.proxyError);
  [super dealloc];
}

- (void)setRemoteObjectInterface:(NSXPCInterface*)interface {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  const std::string protocol = protocol_getName([interface protocol]);
  InProcessCalls::with(self, [&](Peer& peer) { peer.connection.protocol = protocol; });
}

- (void)setInvalidationHandler:(ConnectionHandler)handler {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  const ConnectionHandler copy = Block_copy(handler);
  blindfold::releaseIfAny(InProcessCalls::with(
      self, [&](Peer& peer) { return std::exchange(peer.invalidation, copy); }));
}

- (void)setInterruptionHandler:(ConnectionHandler)handler {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  const ConnectionHandler copy = Block_copy(handler);
  blindfold::releaseIfAny(InProcessCalls::with(
      self, [&](Peer& peer) { return std::exchange(peer.interruption, copy); }));
}

/// A started connection keeps itself alive until it is invalid.
- (void)resume {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  InProcessCalls::with(self, [&](Peer& peer) {
    peer.connection.resumed = true;
    if (!peer.connection.invalidated) [self retain];
  });
}

- (id)remoteObjectProxyWithErrorHandler:(ErrorHandler)handler {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  const ErrorHandler copy = Block_copy(handler);
  blindfold::releaseIfAny(
      InProcessCalls::with(self, [&](Peer& peer) { return std::exchange(peer.proxyError, copy); }));
  const blindfold::ProxyKind kind = InProcessCalls::proxyKind();
  if (kind == blindfold::ProxyKind::none) return nil;
  return [[[InProcessProxy alloc] initConforming:kind == blindfold::ProxyKind::usable] autorelease];
}

- (void)invalidate {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  const Peer before = InProcessCalls::with(self, [](Peer& peer) {
    return std::exchange(peer, [&] {
      Peer after = peer;
      after.connection.invalidated = true;
      after.proxyError = nullptr;
      return after;
    }());
  });
  if (before.connection.invalidated) return;
  const bool keptItself = before.connection.resumed;
  [self retain];
  dispatch_async(blindfold::queue(), ^{
    if (before.invalidation != nullptr) before.invalidation();
    blindfold::releaseIfAny(before.proxyError);
    if (keptItself) [self release];
    [self release];
  });
}

@end

/// An interface is its protocol.
@interface NSXPCInterface (InProcess)
@end

@implementation NSXPCInterface (InProcess)

- (void)dealloc {
  InProcessCalls::removeInterface(self);
  [super dealloc];
}

+ (NSXPCInterface*)interfaceWithProtocol:(Protocol*)protocol {
  NSXPCInterface* const interface = [[[NSXPCInterface alloc] init] autorelease];
  [interface setProtocol:protocol];
  return interface;
}

- (void)setProtocol:(Protocol*)protocol {
  InProcessCalls::setProtocol(self, protocol);
}

- (Protocol*)protocol {
  return InProcessCalls::protocolOf(self);
}

@end

namespace blindfold {

namespace {

/// More pools than stand inside one another on any thread.
constexpr int poolsInUseAtMost = 8;

/// GNUstep keeps a thread's autorelease pools for the thread's next ones.
void fillPoolCache(int pools) {
  @autoreleasepool {
    if (pools > 1) fillPoolCache(pools - 1);
  }
}

/// Does `work` later, `times` at once, with the last connection made.
void laterWithLast(int times, std::function<void(NSXPCConnection*)> work) {
  for (int i = 0; i < times; ++i) {
    NSXPCConnection* const connection = InProcessCalls::retainLast();
    dispatch_async(queue(), ^{
      @autoreleasepool {
        if (connection != nil) work(connection);
        [connection release];
      }
    });
  }
}

}  // namespace

InProcessService& InProcessService::shared() {
  static InProcessService& service = *std::make_unique<InProcessService>().release();
  return service;
}

void InProcessService::reset() {
  const std::lock_guard lock(mutex_);
  answer_ = [](const HelperMessage&, const Reply& reply) { reply("{}"); };
  proxyKind_ = ProxyKind::usable;
  raisingSelector_.clear();
  raisingReason_.clear();
  received_.clear();
}

void InProcessService::setAnswer(std::function<void(HelperMessage, Reply)> answer) {
  const std::lock_guard lock(mutex_);
  answer_ = std::move(answer);
}

void InProcessService::setProxyKind(ProxyKind kind) {
  const std::lock_guard lock(mutex_);
  proxyKind_ = kind;
}

void InProcessService::raise(const std::string& selector, const std::string& reason) {
  const std::lock_guard lock(mutex_);
  raisingSelector_ = selector;
  raisingReason_ = reason;
}

InProcessService::Connection InProcessService::lastConnection() {
  NSXPCConnection* const connection = InProcessCalls::retainLast();
  auto made = InProcessCalls::with(connection, [](Peer& peer) { return peer.connection; });
  [connection release];
  return made;
}

std::vector<HelperMessage> InProcessService::received() const {
  const std::lock_guard lock(mutex_);
  return received_;
}

void InProcessService::failProxies(const std::string& description, int times) {
  laterWithLast(times, [description](NSXPCConnection* connection) {
    const auto handler = InProcessCalls::with(connection, [](Peer& peer) -> ErrorHandler {
      if (peer.proxyError == nullptr) return nullptr;
      return Block_copy(peer.proxyError);
    });
    if (handler == nullptr) return;
    NSDictionary* const information = [NSDictionary dictionaryWithObject:stringOf(description)
                                                                  forKey:NSLocalizedDescriptionKey];
    handler([NSError errorWithDomain:NSCocoaErrorDomain code:4097 userInfo:information]);
    Block_release(handler);
  });
}

void InProcessService::interrupt(int times) {
  laterWithLast(times, [](NSXPCConnection* connection) {
    const auto handler =
        InProcessCalls::with(connection, [](Peer& peer) { return peer.interruption; });
    if (handler != nullptr) handler();
  });
}

void InProcessService::endFromOutside(int times) {
  laterWithLast(times, [](NSXPCConnection* connection) {
    const auto handler =
        InProcessCalls::with(connection, [](Peer& peer) { return peer.invalidation; });
    if (handler != nullptr) handler();
  });
}

void InProcessService::useEveryThread() {
  const auto arrived = std::make_shared<std::latch>(globalQueueThreads + 1);
  const auto work = ^{
    fillPoolCache(poolsInUseAtMost);
    arrived->arrive_and_wait();
  };
  for (int i = 0; i < globalQueueThreads; ++i) dispatch_async(queue(), work);
  work();
}

int InProcessService::liveConnections() {
  return InProcessCalls::count();
}

}  // namespace blindfold
