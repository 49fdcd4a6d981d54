#include "devhelper/macos/xpc_service.h"

#import <Foundation/Foundation.h>

#include <cassert>
#include <optional>
#include <utility>
#include <vector>

#include "blindfold/platform/macos/blindfold_xpc_protocol.h"
#include "blindfold/platform/macos/conversion.h"
#include "blindfold/platform/macos/platform_call.h"
#include "blindfold/platform/macos/scoped_reference.h"

namespace {
using blindfold::HelperMessage;
using blindfold::HelperMethod;
using blindfold::NoArgument;

using MessageReceiver = std::function<void(HelperMessage message, BlindfoldReply reply)>;
using ClientAcceptor = std::function<void(NSXPCConnection* connection)>;

blindfold::DataArgument dataArgument(NSData* data) {
  return {blindfold::bytesOf(data)};
}

blindfold::TextArgument textArgument(NSString* text) {
  if (text == nil) return {std::nullopt};
  return {blindfold::textOf(text)};
}
}  // namespace

// The runtime that runs these classes on Linux does not construct C++ members, so that they own
// theirs by pointers.

/// The object that one client's messages arrive at.
@interface BlindfoldExportedHelper : NSObject <BlindfoldXPCProtocol> {
  MessageReceiver* receiver_;  // NOLINT(readability-identifier-naming): it is private
}
- (instancetype)initWithReceiver:(MessageReceiver)receiver;
@end

@implementation BlindfoldExportedHelper

- (instancetype)initWithReceiver:(MessageReceiver)receiver {
  self = [super init];
  if (self != nil) receiver_ = std::make_unique<MessageReceiver>(std::move(receiver)).release();
  return self;
}

- (void)dealloc {
  const std::unique_ptr<MessageReceiver> owned(receiver_);
  [super dealloc];
}

- (void)beginPresence:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::beginPresence, NoArgument{}}, reply);
}

- (void)installStatus:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::installStatus, NoArgument{}}, reply);
}

- (void)detectTargets:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::detectTargets, NoArgument{}}, reply);
}

- (void)hold:(NSData*)request withReply:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::hold, dataArgument(request)}, reply);
}

- (void)renew:(NSString*)leaseIdentifier withReply:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::renew, textArgument(leaseIdentifier)}, reply);
}

- (void)release:(NSString*)leaseIdentifier withReply:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::release, textArgument(leaseIdentifier)}, reply);
}

- (void)restoreAll:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::restoreAll, NoArgument{}}, reply);
}

- (void)muteMic:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::muteMic, NoArgument{}}, reply);
}

- (void)unmuteMic:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::unmuteMic, NoArgument{}}, reply);
}

- (void)currentState:(BlindfoldReply)reply {
  (*receiver_)({HelperMethod::currentState, NoArgument{}}, reply);
}

@end

/// Accepts every client of the listener.
@interface BlindfoldListenerDelegate : NSObject <NSXPCListenerDelegate> {
  ClientAcceptor* acceptor_;  // NOLINT(readability-identifier-naming): it is private
}
- (instancetype)initWithAcceptor:(ClientAcceptor)acceptor;
@end

@implementation BlindfoldListenerDelegate

- (instancetype)initWithAcceptor:(ClientAcceptor)acceptor {
  self = [super init];
  if (self != nil) acceptor_ = std::make_unique<ClientAcceptor>(std::move(acceptor)).release();
  return self;
}

- (void)dealloc {
  const std::unique_ptr<ClientAcceptor> owned(acceptor_);
  [super dealloc];
}

- (BOOL)listener:(NSXPCListener*)listener
    shouldAcceptNewConnection:(NSXPCConnection*)newConnection {
  (void)listener;
  (*acceptor_)(newConnection);
  return YES;
}

@end

namespace blindfold {
namespace {
using HandlerBlock = void (^)(void);

/// The service's state of a connected client. Used by the main loop's work only.
struct Client {
  /// Replies that are never given. Releasing one would tell the client that none will come.
  std::vector<BlockReference<BlindfoldReply>> unanswered;
  bool hasEnded = false;
};

/// A message's sender, until the message is answered.
struct Caller {
  std::shared_ptr<Client> client;
  ObjectReference<NSXPCConnection*> connection;
  BlockReference<BlindfoldReply> reply;
};

void carryOut(const Answer& answer, Caller& caller) {
  assert(answer.ending != Answer::Ending::error && !answer.truncation && !answer.trickle);
  if (answer.ending == Answer::Ending::reply) {
    callPlatform([&] { caller.reply.get()(dataOf(answer.bytes.view())); });
  } else if (answer.ending == Answer::Ending::close) {
    callPlatform([&] { [caller.connection.get() invalidate]; });
  } else if (!caller.client->hasEnded) {
    caller.client->unanswered.push_back(std::move(caller.reply));
  }
}

/// Answers the messages of all clients, one at a time.
class Receptionist {
 public:
  Receptionist(const Platform& platform, std::function<Answer(const HelperMessage&)> respond)
      : mainLoop_(platform.mainLoop),
        timedWork_(platform.timedWork),
        respond_(std::move(respond)) {}

  void receive(HelperMessage message, const std::shared_ptr<Caller>& caller) {
    mainLoop_.post([this, message = std::move(message), caller] { answer(message, caller); });
  }

  void forget(const std::shared_ptr<Client>& client) {
    mainLoop_.post([client] {
      client->hasEnded = true;
      client->unanswered.clear();
    });
  }

 private:
  void answer(const HelperMessage& message, const std::shared_ptr<Caller>& caller) {
    const Answer answer = respond_(message);
    if (answer.delay.count() == 0) return carryOut(answer, *caller);
    timedWork_.schedule(answer.delay, [this, answer, caller] {
      mainLoop_.post([answer, caller] { carryOut(answer, *caller); });
    });
  }

  MainLoop& mainLoop_;
  TimedWorkQueue& timedWork_;
  const std::function<Answer(const HelperMessage&)> respond_;
};

/// A block that ends `client` once its connection is invalid. A block captures a reference as one,
/// so that it needs a value of its own.
BlockReference<HandlerBlock> endingBlock(
    Receptionist& receptionist,
    std::shared_ptr<Client> client) {  // NOLINT(performance-unnecessary-value-param)
  Receptionist* const shared = &receptionist;
  return BlockReference<HandlerBlock>::retaining(^{
    shared->forget(client);
  });
}

/// Makes `connection` receive messages. The object that it owns refers to it without owning it.
void accept(Receptionist& receptionist, NSXPCConnection* connection) {
  const auto client = std::make_shared<Client>();
  const auto receiver = [&receptionist, client, connection](HelperMessage message,
                                                            BlindfoldReply reply) {
    const auto caller =
        std::make_shared<Caller>(client, ObjectReference<NSXPCConnection*>::retaining(connection),
                                 BlockReference<BlindfoldReply>::retaining(reply));
    receptionist.receive(std::move(message), caller);
  };
  const auto exported = ObjectReference<BlindfoldExportedHelper*>::adopting(
      [[BlindfoldExportedHelper alloc] initWithReceiver:receiver]);
  [connection
      setExportedInterface:[NSXPCInterface interfaceWithProtocol:@protocol(BlindfoldXPCProtocol)]];
  [connection setExportedObject:exported.get()];
  [connection setInvalidationHandler:endingBlock(receptionist, client).get()];
  [connection resume];
}
}  // namespace

struct XPCService::Implementation {
  Receptionist receptionist;
  ObjectReference<BlindfoldListenerDelegate*> delegate;  // which the listener does not own
  ObjectReference<NSXPCListener*> listener;
};

XPCService::XPCService(const std::string& machServiceName, const Platform& platform,
                       std::function<Answer(const HelperMessage& message)> respond)
    : implementation_(new Implementation{Receptionist(platform, std::move(respond)), {}, {}}) {
  callPlatform([&] {
    const ClientAcceptor acceptor =
        [&receptionist = implementation_->receptionist](NSXPCConnection* connection) {
          accept(receptionist, connection);
        };
    implementation_->delegate = ObjectReference<BlindfoldListenerDelegate*>::adopting(
        [[BlindfoldListenerDelegate alloc] initWithAcceptor:acceptor]);
    implementation_->listener = ObjectReference<NSXPCListener*>::adopting(
        [[NSXPCListener alloc] initWithMachServiceName:stringOf(machServiceName)]);
    [implementation_->listener.get() setDelegate:implementation_->delegate.get()];
    [implementation_->listener.get() resume];
  });
}

XPCService::~XPCService() {
  askPlatform([&] {
    [implementation_->listener.get() setDelegate:nil];
    [implementation_->listener.get() invalidate];
  });
}

}  // namespace blindfold
