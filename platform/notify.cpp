// SPDX-License-Identifier: MIT
#include "platform/notify.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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
  // A daemon that is stuck leaves its queue of callers full.
  (void)setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  (void)setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
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

// Closing a connection resets it when something in it is unread: the rest of a message that is too
// long, or one that was not looked at.
int Notify_WaitForEnd(int connection, std::size_t length) {
  char unused = 0;
  if (recv(connection, &unused, sizeof unused, 0) == 0) return 0;
  return errno == ECONNRESET && length > notify_longest_message ? 0 : -1;
}

const char* Notify_Reason() {
  if (errno == ECONNRESET || errno == EPIPE) return "nvd has not read it";
  return errno == EAGAIN ? "nvd is busy for more than 5 s" : std::strerror(errno);
}
