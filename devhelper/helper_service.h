#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <optional>

#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/platform_error.h"
#include "devhelper/client_connection.h"
#include "devhelper/recorder.h"
#include "devhelper/script.h"
#include "devhelper/service_listener.h"
#include "devhelper/simulated_mac.h"

namespace blindfold {

/// The most clients that are served at a time; further ones wait until one leaves.
inline constexpr std::size_t maximumClients = 256;

/// What answers the service's clients: the script where it has a directive, else the Mac.
struct HelperServiceParts {
  Script script;
  SimulatedMac mac;
  /// Keeps every message before it is answered.
  std::optional<Recorder> recorder;
};

/// Serves clients of a service, each at its own pace, from an event loop.
class HelperService {
 public:
  /// Serves from now on; `loop` and `listener` outlive it. Calls `failed` when a message cannot be
  /// recorded; the client of that message is dropped.
  HelperService(EventLoop& loop, const ServiceListener& listener, HelperServiceParts parts,
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
  HelperServiceParts parts_;
  std::function<void(const PlatformError&)> failed_;
  Clients clients_;
  std::shared_ptr<WorkItem> nextAccept_;
};

}  // namespace blindfold
