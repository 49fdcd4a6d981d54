#include "in_process_service.h"

#import <objc/runtime.h>

#include <latch>
#include <memory>
#include <mutex>
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
