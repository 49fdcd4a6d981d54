#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <memory>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/platform_error.h"
#include "devhelper/development_helper.h"
#include "devhelper/linux/client_connection.h"
#include "devhelper/linux/service_listener.h"

namespace blindfold {

/// The most clients that are served at a time; further ones wait until one leaves.
inline constexpr std::size_t maximumClients = 256;

/// The most bytes that all clients' connections may keep, of messages that arrive and of replies
/// that leave; the client whose bytes would exceed it is dropped.
inline constexpr std::size_t maximumKeptBytes = std::size_t{256} * 1024 * 1024;

/// Serves clients of a service, each at its own pace, from an event loop.
class HelperService {
 public:
  /// Serves from now on; `loop`, `listener` and `helper` outlive it. Calls `failed` when a message
  /// cannot be recorded; the client of that message is dropped.
  HelperService(EventLoop& loop, const ServiceListener& listener, DevelopmentHelper& helper,
                std::function<void(const PlatformError&)> failed);
  HelperService(const HelperService&) = delete;
  HelperService& operator=(const HelperService&) = delete;
  ~HelperService();

 private:
  using Clients = std::list<std::unique_ptr<ClientConnection>>;

  void watchForClients();
  void acceptClients();
  void pauseAccepting();
  void addClient(FileDescriptor socket);
  Answer respond(const HelperMessage& message);

  EventLoop& loop_;
  const ServiceListener& listener_;
  DevelopmentHelper& helper_;
  std::function<void(const PlatformError&)> failed_;
  ByteBudget budget_{maximumKeptBytes};
  Clients clients_;
  std::shared_ptr<WorkItem> nextAccept_;
};

}  // namespace blindfold
