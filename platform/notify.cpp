// SPDX-License-Identifier: MIT
#include "platform/notify.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr timeval patience = {.tv_sec = 5, .tv_usec = 0};

int Fail(int fd, int error) {
  if (fd >= 0) (void)close(fd);
  errno = error;
  return -1;
}

int Connect(std::string_view path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return Fail(-1, ENAMETOOLONG);
  path.copy(address.sun_path, path.size());
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  const bool connected =
      connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  return connected ? fd : Fail(fd, errno);
}

}  // namespace

int Notify_Send(const char* socket_path, std::string_view message) {
  const int fd = Connect(socket_path);
  if (fd < 0) return -1;
  const ssize_t sent = send(fd, message.data(), message.size(), MSG_NOSIGNAL);
  if (sent != static_cast<ssize_t>(message.size())) return Fail(fd, sent < 0 ? errno : EMSGSIZE);
  // With nothing more to come, the daemon's read returns even if the message is empty.
  (void)shutdown(fd, SHUT_WR);
  return fd;
}

// A daemon that leaves part of a long message unread resets the connection as it closes it.
int Notify_WaitForEnd(int connection) {
  char unused = 0;
  (void)setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  return recv(connection, &unused, sizeof unused, 0) == 0 || errno == ECONNRESET ? 0 : -1;
}
