#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/posix/file_descriptor.h"

namespace blindfold {

/// A client that can say anything to a service. Every operation that waits throws
/// `std::runtime_error` when it has waited for ten seconds.
class RawClient {
 public:
  /// Connects. Throws `std::system_error` when the service does not listen.
  explicit RawClient(const std::string& service);

  /// Writes the bytes, as many as the service takes; false when it has closed the connection.
  bool send(std::string_view bytes);

  /// Sends the request frame for `message`.
  void sendMessage(const HelperMessage& message);

  /// The next frame, or nothing when the service closes the connection before it is complete.
  std::optional<Frame> receiveFrame();

  /// Every byte up to the end of the connection.
  Bytes receiveToEnd();

  /// One byte, or nothing at the end of the connection.
  std::optional<char> receiveByte();

  /// Whether the service neither sends nor closes for as long as `time`.
  bool staysQuiet(std::chrono::milliseconds time) const;

  /// Says that nothing more will be sent.
  void finishSending() const;

 private:
  Bytes receiveSome(std::size_t maximumSize);

  FileDescriptor socket_;
  FrameReader reader_;
};

}  // namespace blindfold
