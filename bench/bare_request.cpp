// The yardstick: one `currentState:` request made of blocking system calls and nothing else, its
// reply's bytes copied to standard output. It checks nothing and bounds nothing.

#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "blindfold/platform/linux/frame.h"
#include "blindfold/platform/linux/service_socket.h"

int main() {
  using namespace blindfold;  // NOLINT(google-build-using-namespace): this is the program

  const ServiceSocketAddress address(BLINDFOLD_DEVELOPMENT_SERVICE);
  const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connection < 0 || connect(connection, address.get(), address.size()) != 0) {
    return 1;
  }
  const Bytes request =
      encodeFrame({FrameKind::request, encodeMessage({HelperMethod::currentState, NoArgument{}})});
  if (send(connection, request.data(), request.size(), MSG_NOSIGNAL) < 0) return 1;
  std::array<char, 65536> reply;
  const ssize_t count = recv(connection, reply.data(), reply.size(), 0);
  return count > 0 && write(STDOUT_FILENO, reply.data(), static_cast<std::size_t>(count)) == count
             ? 0
             : 1;
}
