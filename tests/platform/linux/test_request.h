#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/linux_helper_connection.h"

namespace blindfold {

/// A message for tests to which it does not matter.
inline const HelperMessage anyMessage{HelperMethod::currentState, NoArgument{}};

/// One connection on a loop of its own, and what its handlers heard, in order: "reply PAYLOAD",
/// "error TEXT", "invalidated", "interrupted". A handler that is called inside a call of the
/// interface is heard as "inside a call" first.
class TestRequest {
 public:
  /// Makes the connection and sets its handlers.
  explicit TestRequest(const std::string& serviceName);

  /// Starts the connection and sends the message.
  void start(HelperMessage message = anyMessage);

  /// The steps of `start`.
  void resume();
  void send(HelperMessage message);

  void invalidate();

  /// Runs the loop until so much has been heard, or a time limit has passed that no test means to
  /// reach. Returns everything heard so far.
  std::vector<std::string> outcome(std::size_t count = 1);

  /// Runs the loop for this time. Returns everything heard so far.
  std::vector<std::string> heardWithin(std::chrono::milliseconds time);

  EventLoop& loop() { return loop_; }
  std::shared_ptr<HelperConnection>& connection() { return connection_; }

 private:
  void hear(std::string event);

  EventLoop loop_;
  LinuxHelperConnectionProvider provider_{loop_};
  std::shared_ptr<HelperConnection> connection_;
  std::vector<std::string> heard_;
  bool isInsideCall_ = false;
};

}  // namespace blindfold
