/* A helper for curl: answers every connection to a Unix-domain socket with one document.

   http_server SOCKET FILE */
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

int main(int argumentCount, char* arguments[]) {
  if (argumentCount != 3) return 1;
  static char document[1 << 16], response[sizeof document + 256], request[1 << 12];
  const ssize_t size = read(open(arguments[2], O_RDONLY), document, sizeof document);
  if (size < 0) return 1;
  const int header = snprintf(response, sizeof response,
                              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                              "Content-Length: %zd\r\nConnection: close\r\n\r\n",
                              size);
  memcpy(response + header, document, (size_t)size);

  struct sockaddr_un address = {.sun_family = AF_UNIX};
  strncpy(address.sun_path, arguments[1], sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  if (bind(listener, (const struct sockaddr*)&address, sizeof address) != 0) return 1;
  if (listen(listener, 16) != 0) return 1;
  for (;;) {
    const int connection = accept(listener, NULL, NULL);
    if (connection < 0) return 1;
    if (read(connection, request, sizeof request) > 0 &&
        write(connection, response, (size_t)header + (size_t)size) < 0) {
      return 1;
    }
    close(connection);
  }
}
