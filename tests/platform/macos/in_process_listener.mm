#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/scoped_reference.h"
#include "in_process_calls.h"

namespace {
using blindfold::InProcessCalls;
using blindfold::Peer;

constexpr const char* interrupted = "Couldn\u2019t communicate with a helper application.";

struct Listeners {
  std::mutex mutex;
  std::map<std::string, NSXPCListener*> byName;
  std::map<NSXPCListener*, id> delegates;
};

/// Never destroyed: the connections' threads use it while the process exits.
Listeners& listeners() {
  static Listeners& made = *std::make_unique<Listeners>().release();
  return made;
}

/// The delegate of the listener for `name`, or nil.
id delegateOf(const std::string& name, NSXPCListener*& listener) {
  const std::lock_guard lock(listeners().mutex);
  const auto found = listeners().byName.find(name);
  if (found == listeners().byName.end()) return nil;
  listener = found->second;
  const auto delegate = listeners().delegates.find(listener);
  return delegate == listeners().delegates.end() ? nil : delegate->second;
}

/// Makes the other end of `client` and offers it to the listener.
void connect(NSXPCConnection* client, NSXPCListener* listener, id<NSXPCListenerDelegate> delegate) {
  NSXPCConnection* const server = [[NSXPCConnection alloc] initWithMachServiceName:@"" options:0];
  InProcessCalls::with(client, [&](Peer& peer) { peer.otherEnd = server; });
  InProcessCalls::with(server, [&](Peer& peer) { peer.otherEnd = client; });
  if (![delegate listener:listener shouldAcceptNewConnection:server]) {
    [server resume];
    [server invalidate];
  }
  [server release];
}

/// A reply that has not been given, which keeps both ends of the connection alive. Its end tells
/// the client that none will come.
class PendingReply {
 public:
  PendingReply(NSXPCConnection* client, BlindfoldReply reply)
      : client_(blindfold::ObjectReference<NSXPCConnection*>::retaining(client)),
        server_(blindfold::ObjectReference<NSXPCConnection*>::retaining(
            InProcessCalls::with(client, [](Peer& peer) { return peer.otherEnd; }))),
        reply_(blindfold::BlockReference<BlindfoldReply>::retaining(reply)) {}
  PendingReply(const PendingReply&) = delete;
  PendingReply& operator=(const PendingReply&) = delete;
  ~PendingReply() {
    if (!given_) InProcessCalls::failProxies(client_.get(), interrupted);
  }

  void give(NSData* data) {
    given_ = true;
    const bool isOver =
        InProcessCalls::with(client_.get(), [](Peer& peer) { return peer.connection.invalidated; });
    if (!isOver) reply_.get()(data);
  }

 private:
  const blindfold::ObjectReference<NSXPCConnection*> client_;
  const blindfold::ObjectReference<NSXPCConnection*> server_;
  const blindfold::BlockReference<BlindfoldReply> reply_;
  bool given_ = false;
};
}  // namespace

namespace blindfold {

id exportedObjectFor(NSXPCConnection* client) {
  static std::mutex connecting;
  const std::lock_guard lock(connecting);
  const Peer peer = InProcessCalls::with(client, [](Peer& each) { return each; });
  NSXPCConnection* server = peer.otherEnd;
  if (server == nil) {
    NSXPCListener* listener = nil;
    const id delegate = delegateOf(peer.connection.name, listener);
    if (delegate == nil || peer.connection.invalidated) return nil;
    connect(client, listener, delegate);
    server = InProcessCalls::with(client, [](Peer& each) { return each.otherEnd; });
  }
  return InProcessCalls::with(
      server, [](Peer& each) { return [[each.exportedObject retain] autorelease]; });
}

BlockReference<BlindfoldReply> replyThroughConnection(NSXPCConnection* client,
                                                      BlindfoldReply reply) {
  const auto pending = std::make_shared<PendingReply>(client, reply);
  return BlockReference<BlindfoldReply>::retaining(^(NSData* data) {
    [data retain];
    const auto answered = pending;
    dispatch_async(InProcessCalls::queue(), ^{
      @autoreleasepool {
        answered->give(data);
        [data release];
      }
    });
  });
}

void endOtherEnd(NSXPCConnection* connection) {
  NSXPCConnection* const other = InProcessCalls::unlink(connection);
  if (other == nil) return;
  const bool isServersEnd =
      InProcessCalls::with(connection, [](Peer& peer) { return peer.exportedObject != nil; });
  dispatch_async(InProcessCalls::queue(), ^{
    @autoreleasepool {
      if (isServersEnd) {
        InProcessCalls::failProxies(other, interrupted);
        const auto handler =
            InProcessCalls::with(other, [](Peer& peer) { return peer.interruption; });
        if (handler != nullptr) handler();
      } else {
        [other invalidate];
      }
      [other release];
    }
  });
}

}  // namespace blindfold

/// The methods that GNUstep declares and leaves out.
@interface NSXPCListener (InProcess)
@end

@implementation NSXPCListener (InProcess)

- (instancetype)initWithMachServiceName:(NSString*)name {
  InProcessCalls::mayRaise("NSXPCListener initWithMachServiceName:");
  self = [super init];
  const std::lock_guard lock(listeners().mutex);
  listeners().byName[blindfold::textOf(name)] = self;
  return self;
}

- (void)setDelegate:(id<NSXPCListenerDelegate>)delegate {
  const std::lock_guard lock(listeners().mutex);
  listeners().delegates[self] = delegate;
}

- (void)resume {
}

- (void)invalidate {
  const std::lock_guard lock(listeners().mutex);
  std::erase_if(listeners().byName, [&](const auto& each) { return each.second == self; });
  listeners().delegates.erase(self);
}

@end
