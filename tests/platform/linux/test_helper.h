#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/posix/file_descriptor.h"

namespace blindfold {

/// A service name that no other test of this run uses.
std::string uniqueServiceName();

/// A socket bound to the service's address, in the system domain of the build, that does not listen
/// yet. The address is there for as long as the object.
class BoundService {
 public:
  explicit BoundService(std::string name);
  BoundService(const BoundService&) = delete;
  BoundService& operator=(const BoundService&) = delete;
  ~BoundService();

  const std::string& name() const { return name_; }
  int socket() const { return socket_.get(); }

  /// Begins to take connections: `backlog` and one more wait until they are accepted.
  void listen(int backlog) const;

  /// The next connection.
  FileDescriptor accept() const;

 private:
  std::string name_;
  FileDescriptor socket_;
};

/// A helper on a thread of its own: hands every connection, one after the other, to `serve`, and
/// closes it when that returns.
class TestHelper {
 public:
  explicit TestHelper(std::function<void(int connection)> serve);
  TestHelper(const TestHelper&) = delete;
  TestHelper& operator=(const TestHelper&) = delete;
  ~TestHelper();

  const std::string& name() const { return service_.name(); }

 private:
  BoundService service_;
  std::thread thread_;
};

/// Reads the request that comes over `connection`.
HelperMessage receiveMessage(int connection);

/// Writes all of `bytes`, or as much as the other side takes before it goes.
void sendBytes(int connection, std::string_view bytes);

/// Answers one request with this frame, or with these bytes.
std::function<void(int)> answering(const Frame& frame);
std::function<void(int)> answeringBytes(Bytes bytes);

/// Waits until the other side has closed the connection.
void awaitEnd(int connection);

/// How many descriptors this process has open.
int openDescriptorCount();

}  // namespace blindfold
