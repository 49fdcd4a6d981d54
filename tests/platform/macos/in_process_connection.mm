// The methods of NSXPCConnection and NSXPCInterface that GNUstep declares and leaves out, and the
// proxies that a connection makes.

#import <objc/runtime.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "blindfold/platform/macos/conversion.h"
#include "in_process_calls.h"

using blindfold::InProcessCalls;
using blindfold::Peer;

namespace {
template <class Block>
void releaseIfAny(Block block) {
  if (block != nullptr) Block_release(block);
}
}  // namespace

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
  releaseIfAny(peer.invalidation);
  releaseIfAny(peer.interruption);
  releaseIfAny(peer.proxyError);
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
  releaseIfAny(InProcessCalls::with(
      self, [&](Peer& peer) { return std::exchange(peer.invalidation, copy); }));
}

- (void)setInterruptionHandler:(ConnectionHandler)handler {
  InProcessCalls::mayRaise(sel_getName(_cmd));
  const ConnectionHandler copy = Block_copy(handler);
  releaseIfAny(InProcessCalls::with(
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
  releaseIfAny(
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
    releaseIfAny(before.proxyError);
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
