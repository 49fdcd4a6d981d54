#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "blindfold/platform/helper_connection.h"
#include "blindfold/platform/linux/event_loop.h"
#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/posix/file_descriptor.h"
#include "devhelper/script.h"

namespace blindfold {

/// A number of bytes that several connections divide among themselves. One thread's.
class ByteBudget {
 public:
  explicit ByteBudget(std::size_t size) : left_(size) {}
  ByteBudget(const ByteBudget&) = delete;
  ByteBudget& operator=(const ByteBudget&) = delete;

  /// A part of the budget, returned with the share's end. `budget` outlives it.
  class Share {
   public:
    explicit Share(ByteBudget& budget) : budget_(budget) {}
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;
    ~Share() { subtract(size_); }

    /// Takes `count` bytes more; false, taking none, when fewer are left.
    [[nodiscard]] bool add(std::size_t count);

    /// Returns `count` bytes of the share, which has as many.
    void subtract(std::size_t count);

    /// Returns the whole share.
    void clear() { subtract(size_); }

   private:
    ByteBudget& budget_;
    std::size_t size_ = 0;
  };

 private:
  std::size_t left_;
};

/// One client. Its messages are answered in turn: the next one is read when the answer to the one
/// before has gone out whole. It keeps one message and one answer at most, never waits for its
/// client, and ends when the client hangs up, sends what is no message, or when there is no memory
/// for it.
class ClientConnection {
 public:
  using Responder = std::function<Answer(const HelperMessage& message)>;

  /// Owns `socket`, which must not block. Takes the bytes of the message that arrives and of a
  /// reply of its own from `budget`, and ends when it has none left. Asks `respond` for the answer
  /// to each message; calls `ended` from the loop, once, when the connection is over. `respond` may
  /// throw `std::bad_alloc` only, `ended` nothing. `loop` and `budget` outlive the connection.
  ClientConnection(EventLoop& loop, FileDescriptor socket, ByteBudget& budget, Responder respond,
                   std::function<void()> ended);
  ClientConnection(const ClientConnection&) = delete;
  ClientConnection& operator=(const ClientConnection&) = delete;

  /// Drops the connection and its outstanding work.
  ~ClientConnection();

 private:
  using Step = void (ClientConnection::*)();

  void perform(Step step);
  void receive();
  void serveNext();
  void carryOut();
  void transmit();
  void finishAnswer();
  void end();
  ssize_t sendRest();
  void watchFor(short events, Step step);
  void watchForMessage();
  void watchForHangUp();
  void after(std::chrono::nanoseconds delay, Step step);
  void disconnect();

  EventLoop& loop_;
  FileDescriptor socket_;
  Responder respond_;
  std::function<void()> ended_;
  FrameReader reader_;
  ByteBudget::Share readerShare_;  ///< For the bytes in `reader_`.
  Answer answer_;
  ByteBudget::Share answerShare_;  ///< For an answer that nobody shares.
  Bytes header_;                   ///< Of the answer's frame.
  std::size_t frameSize_ = 0;      ///< The part of the answer's frame that is to be sent.
  std::size_t written_ = 0;        ///< Of `frameSize_`.
  std::shared_ptr<WorkItem> nextStep_;
};

}  // namespace blindfold
