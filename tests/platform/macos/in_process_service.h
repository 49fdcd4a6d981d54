#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "blindfold/platform/helper_connection.h"

namespace blindfold {

/// The object that `remoteObjectProxyWithErrorHandler:` returns.
enum class ProxyKind { usable, notConforming, none };

/// The other end of every `NSXPCConnection` of this process, and the strings that a test pulls. The
/// connections call their handlers on dispatch's global queue, several at once perhaps, and keep
/// their blocks until they are deallocated.
class InProcessService {
 public:
  /// Takes a reply's bytes, or nothing for nil data.
  using Reply = std::function<void(std::optional<Bytes>)>;

  /// How a connection was made and set up.
  struct Connection {
    std::string name;
    unsigned long options = 0;
    std::string protocol;
    bool resumed = false;
    bool invalidated = false;
  };

  static InProcessService& shared();

  /// Forgets everything and makes all settings the ones of a service that answers "{}".
  void reset();

  /// How the helper answers, on some thread; it may keep the reply and call it later.
  void setAnswer(std::function<void(HelperMessage, Reply)> answer);
  void setProxyKind(ProxyKind kind);

  /// Makes the next call of the platform's method `selector` raise an Objective-C exception with
  /// this reason.
  void raise(const std::string& selector, const std::string& reason);

  /// The last connection made.
  static Connection lastConnection();

  /// The messages that reached the helper, in order.
  std::vector<HelperMessage> received() const;

  /// Events of the last connection made: later, on the queue's threads, `times` at once.
  static void failProxies(const std::string& description, int times = 1);
  static void interrupt(int times = 1);
  static void endFromOutside(int times = 1);

  /// Makes Foundation make what it keeps for every thread, this one and the queue's.
  static void useEveryThread();

  /// How many `NSXPCConnection` objects are alive.
  static int liveConnections();

 private:
  friend class InProcessCalls;

  mutable std::mutex mutex_;
  std::function<void(HelperMessage, Reply)> answer_;
  ProxyKind proxyKind_ = ProxyKind::usable;
  std::string raisingSelector_;
  std::string raisingReason_;
  std::vector<HelperMessage> received_;
};

}  // namespace blindfold
