#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/file_descriptor.h"
#include "blindfold/platform/linux/frame.h"
#include "devhelper/answer.h"

namespace blindfold {

/// One client. Its messages are taken in turn: the next one is looked at when the answer to the one
/// before has gone out whole. It holds one message and one answer at most, never waits for its
/// client, and ends when the client hangs up or sends what is no message.
class ClientConnection {
 public:
  using Responder = std::function<Answer(const HelperMessage& message)>;

  /// Owns `socket`, which must not block. Asks `respond` for the answer to each message; calls
  /// `ended` from the loop, once, when the connection is over. Both must not throw.
  ClientConnection(EventLoop& loop, FileDescriptor socket, Responder respond,
                   std::function<void()> ended);
  ClientConnection(const ClientConnection&) = delete;
  ClientConnection& operator=(const ClientConnection&) = delete;

  /// Drops the connection and what is still to be done on it.
  ~ClientConnection();

 private:
  void receive();
  void serveNext();
  void carryOut();
  void transmit();
  void finishAnswer();
  void end();
  void watchForMessage();
  void watchForHangUp();
  void watchForRoom();
  void after(std::chrono::nanoseconds delay, void (ClientConnection::*step)());
  void disconnect();

  EventLoop& loop_;
  FileDescriptor socket_;
  Responder respond_;
  std::function<void()> ended_;
  FrameReader reader_;
  Answer answer_;
  Bytes outgoing_;
  std::size_t written_ = 0;  // of outgoing_
  std::shared_ptr<WorkItem> nextStep_;
};

}  // namespace blindfold
