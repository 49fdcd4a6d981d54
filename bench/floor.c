/* The floor: one request made of blocking system calls and nothing else, its reply's bytes copied
   to standard output. It checks nothing and bounds nothing.

   floor SOCKET SELECTOR */
#include <stdint.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static unsigned char reply[1 << 20];

int main(int argumentCount, char* arguments[]) {
  if (argumentCount != 3) return 1;
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  strncpy(address.sun_path, arguments[1], sizeof address.sun_path - 1);
  const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(connection, (const struct sockaddr*)&address, sizeof address) != 0) return 1;

  const size_t selectorSize = strlen(arguments[2]);
  unsigned char request[12 + 1 + 255 + 1] = "BLFD\1\1";
  request[11] = (unsigned char)(selectorSize + 2);
  request[12] = (unsigned char)selectorSize;
  memcpy(request + 13, arguments[2], selectorSize);
  if (send(connection, request, 14 + selectorSize, MSG_NOSIGNAL) < 0) return 1;

  size_t size = 0, expected = 12;
  while (size < expected) {
    const ssize_t count = recv(connection, reply + size, sizeof reply - 1 - size, 0);
    if (count <= 0) return 1;
    size += (size_t)count;
    if (expected == 12 && size >= 12) {
      expected +=
          (size_t)reply[8] << 24 | (size_t)reply[9] << 16 | (size_t)reply[10] << 8 | reply[11];
    }
  }
  reply[size] = '\n';
  return write(STDOUT_FILENO, reply + 12, size - 11) < 0;
}
