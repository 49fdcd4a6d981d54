#pragma once

#import <Block.h>
#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "blindfold/platform/macos/blindfold_xpc_protocol.h"
#include "blindfold/platform/macos/scoped_reference.h"
#include "in_process_service.h"

using ErrorHandler = void (^)(NSError*);
using ConnectionHandler = void (^)(void);

namespace blindfold {

/// The state of one `NSXPCConnection`. GNUstep declares the class without any of its state.
struct Peer {
  InProcessService::Connection connection;
  ConnectionHandler invalidation = nullptr;
  ConnectionHandler interruption = nullptr;
  ErrorHandler proxyError = nullptr;
  id exportedObject = nil;          ///< Of the end of a connection that a listener accepted.
  NSXPCConnection* otherEnd = nil;  ///< Null when the in-process service is the other end.
};

/// The calls that the platform's methods below make on the service.
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

  /// The connections' threads.
  static dispatch_queue_t queue() { return dispatch_get_global_queue(QOS_CLASS_UTILITY, 0); }

  /// Calls the error handler of the proxies of `connection` in the system's words.
  static void failProxies(NSXPCConnection* connection, const std::string& description);

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

  /// Parts the two ends of a connection. Returns a retained reference to the other end, or nil.
  static NSXPCConnection* unlink(NSXPCConnection* connection) {
    const std::lock_guard lock(state().mutex);
    NSXPCConnection* const other = std::exchange(state().peers[connection].otherEnd, nil);
    if (other != nil) state().peers[other].otherEnd = nil;
    return [other retain];
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

/// The object that serves the messages of `client` when a listener has its service's name, which is
/// connected to the listener first; nil when there is no listener.
id exportedObjectFor(NSXPCConnection* client);

/// A block that passes the reply to a message of `client` on to `reply`, later. Releasing it
/// without calling it fails the client's proxies, as the system does.
BlockReference<BlindfoldReply> replyThroughConnection(NSXPCConnection* client,
                                                      BlindfoldReply reply);

/// Ends the other end of `connection`, which has been invalidated.
void endOtherEnd(NSXPCConnection* connection);

}  // namespace blindfold
