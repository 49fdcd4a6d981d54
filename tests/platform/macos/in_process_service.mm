#include "in_process_service.h"

#import <objc/runtime.h>

#include <cstdio>
#include <cstdlib>
#include <latch>
#include <map>
#include <memory>
#include <utility>

#include "blindfold/platform/macos/conversion.h"
#include "in_process_calls.h"

namespace blindfold {

namespace {
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
    dispatch_async(InProcessCalls::queue(), ^{
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

/// A proxy: it has the methods of its protocol only at run time.
@interface InProcessProxy : NSObject {
  NSXPCConnection* connection_;  // which outlives its proxies in use
  BOOL conforms_;
}
- (id)initWithConnection:(NSXPCConnection*)connection conforming:(BOOL)conforms;
- (NSXPCConnection*)connection;
@end

namespace {
/// Calls the helper's method later, on another thread: that of the object at the connection's other
/// end, or of the in-process helper.
void callHelper(NSXPCConnection* connection, SEL selector, id argument, BlindfoldReply answer) {
  InProcessCalls::mayRaise(sel_getName(selector));
  [argument retain];
  [connection retain];
  dispatch_async(InProcessCalls::queue(), ^{
    @autoreleasepool {
      id helper = blindfold::exportedObjectFor(connection);
      const auto reply = helper == nil
                             ? blindfold::BlockReference<BlindfoldReply>::retaining(answer)
                             : blindfold::replyThroughConnection(connection, answer);
      if (helper == nil) helper = [[[InProcessHelper alloc] init] autorelease];
      const auto method = reinterpret_cast<void (*)()>([helper methodForSelector:selector]);
      const auto& row =
          blindfold::describe(*blindfold::helperMethodWithSelector(sel_getName(selector)));
      if (row.argument == blindfold::ArgumentKind::none) {
        reinterpret_cast<void (*)(id, SEL, BlindfoldReply)>(method)(helper, selector, reply.get());
      } else {
        reinterpret_cast<void (*)(id, SEL, id, BlindfoldReply)>(method)(helper, selector, argument,
                                                                        reply.get());
      }
      [argument release];
      [connection release];
    }
  });
}

void passOn(InProcessProxy* proxy, SEL selector, BlindfoldReply reply) {
  callHelper([proxy connection], selector, nil, reply);
}

void passOnArgument(InProcessProxy* proxy, SEL selector, id argument, BlindfoldReply reply) {
  callHelper([proxy connection], selector, argument, reply);
}
}  // namespace

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

- (id)initWithConnection:(NSXPCConnection*)connection conforming:(BOOL)conforms {
  self = [super init];
  connection_ = connection;
  conforms_ = conforms;
  return self;
}

- (NSXPCConnection*)connection {
  return connection_;
}

- (BOOL)conformsToProtocol:(Protocol*)protocol {
  return conforms_ && protocol_isEqual(protocol, @protocol(BlindfoldXPCProtocol));
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
  [peer.exportedObject release];
  [super dealloc];
}

- (void)setRemoteObjectInterface:(NSXPCInterface*)interface {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  const std::string protocol = protocol_getName([interface protocol]);
  InProcessCalls::with(self, [&](Peer& peer) { peer.connection.protocol = protocol; });
}

- (void)setExportedInterface:(NSXPCInterface*)interface {
  [self setRemoteObjectInterface:interface];
}

- (void)setExportedObject:(id)object {
  [object retain];
  [InProcessCalls::with(
      self, [&](Peer& peer) { return std::exchange(peer.exportedObject, object); }) release];
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
  return [[[InProcessProxy alloc] initWithConnection:self
                                          conforming:kind == blindfold::ProxyKind::usable]
      autorelease];
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
  blindfold::endOtherEnd(self);
  const bool keptItself = before.connection.resumed;
  [self retain];
  dispatch_async(InProcessCalls::queue(), ^{
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
    dispatch_async(InProcessCalls::queue(), ^{
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
    InProcessCalls::failProxies(connection, description);
  });
}

void InProcessCalls::failProxies(NSXPCConnection* connection, const std::string& description) {
  const auto handler = with(connection, [](Peer& peer) -> ErrorHandler {
    if (peer.proxyError == nullptr) return nullptr;
    return Block_copy(peer.proxyError);
  });
  if (handler == nullptr) return;
  NSDictionary* const information = [NSDictionary dictionaryWithObject:stringOf(description)
                                                                forKey:NSLocalizedDescriptionKey];
  handler([NSError errorWithDomain:NSCocoaErrorDomain code:4097 userInfo:information]);
  Block_release(handler);
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
  for (int i = 0; i < globalQueueThreads; ++i) dispatch_async(InProcessCalls::queue(), work);
  work();
}

int InProcessService::liveConnections() {
  return InProcessCalls::count();
}

}  // namespace blindfold
