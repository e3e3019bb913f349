// SPDX-License-Identifier: MIT
// camera-notify: sends one message to a daemon's control socket.
//
// The daemon never answers, but it closes the connection when it has handled the message. Waiting
// for that tells the caller when the message has had its effect; -n does without.
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t longest_message = 4096;
constexpr timeval patience = {.tv_sec = 5, .tv_usec = 0};

int Fail(const char* what) {
  (void)std::fprintf(stderr, "camera-notify: %s: %s\n", what, std::strerror(errno));
  return 1;
}

int Connect(std::string_view path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return -1;
  }
  path.copy(address.sun_path, path.size());
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  const int error = errno;
  (void)close(fd);
  errno = error;
  return -1;
}

// A daemon that leaves part of a long message unread resets the connection as it closes it.
bool WaitForClose(int fd) {
  char unused = 0;
  (void)setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  return recv(fd, &unused, sizeof unused, 0) == 0 || errno == ECONNRESET;
}

}  // namespace

int main(int argc, char* argv[]) {
  bool wait = true;
  for (int option = 0; (option = getopt(argc, argv, "+n")) != -1;) {
    if (option != 'n') return 2;
    wait = false;
  }
  if (argc - optind != 2) {
    (void)std::fputs("usage: camera-notify [-n] SOCKET MESSAGE|-\n", stderr);
    return 2;
  }
  const char* path = argv[optind];
  std::string_view message = argv[optind + 1];
  std::array<char, longest_message> input;
  if (message == "-") message = {input.data(), std::fread(input.data(), 1, input.size(), stdin)};

  const int fd = Connect(path);
  if (fd < 0) return Fail(path);
  // With nothing more to come, the daemon's read returns even if the message is empty.
  if (send(fd, message.data(), message.size(), MSG_NOSIGNAL) < 0) return Fail("send");
  (void)shutdown(fd, SHUT_WR);
  if (wait && !WaitForClose(fd)) return Fail("the daemon does not close the connection");
  (void)close(fd);
  return 0;
}
