// SPDX-License-Identifier: MIT
#include "platform/libnetwork.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

namespace {

// Senders come one at a time and a message costs the daemon a few hundred milliseconds on the bus;
// the queue lets a burst of them connect meanwhile.
constexpr int listen_backlog = 64;

}  // namespace

int unix_socket_open(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::size_t length = std::strlen(path);
  if (length >= sizeof address.sun_path) return -1;
  std::memcpy(address.sun_path, path, length + 1);

  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  (void)unlink(path);  // usually there is none; if it can't go, bind says so
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(fd, listen_backlog) != 0) {
    (void)close(fd);
    return -1;
  }
  return fd;
}

int set_nonblocking(int fd) {
  const int flags = fcntl(fd, F_GETFL);
  return flags < 0 ? -1 : fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}
