// SPDX-License-Identifier: MIT
#include "daemon/control_socket.h"

#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "daemon/commands.h"
#include "daemon/log.h"
#include "daemon/signals.h"
#include "platform/host.h"
#include "platform/libnetwork.h"

namespace {

constexpr const char* socket_path = "/tmp/nv.sck";
constexpr std::size_t longest_message = 128;
constexpr suseconds_t wait_us = 500000;
constexpr unsigned rest_after_refusal_us = 100000;

int listener = -1;
int highest = -1;
fd_set master;
std::array<int, 20> clients;  // 0: free

// A descriptor that does not exist, or that a set has no bit for, is never ready.
bool FitsSet(int fd) { return fd >= 0 && fd < FD_SETSIZE; }

bool IsIn(int fd, const fd_set& set) { return FitsSet(fd) && FD_ISSET(fd, &set); }

void Watch(int fd) {
  if (!FitsSet(fd)) return;
  FD_SET(fd, &master);
  highest = std::max(highest, fd);
}

// Puts a connection into the first free slot; false when all are taken.
bool Nv_AddClient(int fd) {
  auto* slot = std::ranges::find(clients, 0);
  if (slot == clients.end()) return false;
  *slot = fd;
  return true;
}

// False when there was nobody to accept, or no way to.
bool AcceptClient() {
  sockaddr_un address{};
  socklen_t length = sizeof address;
  const int fd = accept4(listener, reinterpret_cast<sockaddr*>(&address), &length, SOCK_CLOEXEC);
  // 0 marks a free slot. It can't come: the daemon's start has reserved the standard descriptors.
  if (fd == 0) return true;
  if (fd < 0) {
    // A full descriptor table, for example, keeps the listener ready; serving the clients that were
    // taken before makes room in it.
    Host_SleepMicroseconds(rest_after_refusal_us);
    return false;
  }
  if (Nv_AddClient(fd)) {
    Watch(fd);
  } else {
    (void)close(fd);
  }
  return true;
}

// Senders write at once; one that does not holds the daemon up, but not its end: once that is asked
// for, what has been written is read and nobody is waited for.
bool WaitForMessage(int client) {
  constexpr int patience_ms = 500;
  pollfd waiting = {.fd = client, .events = POLLIN, .revents = 0};
  int ready = 0;
  do {
    ready = poll(&waiting, 1, quit_flag == 0 ? patience_ms : 0);
  } while ((ready == 0 || (ready < 0 && errno == EINTR)) && quit_flag == 0);
  return ready > 0;
}

void ServeClient(int& client) {
  std::array<char, longest_message + 1> text{};
  if (WaitForMessage(client) && read(client, text.data(), longest_message) < 0) text[0] = '\0';
  Nv_HandleCommand(text.data());
  (void)close(client);
  FD_CLR(client, &master);
  client = 0;
}

}  // namespace

int Nv_InitSocket() {
  FD_ZERO(&master);
  listener = unix_socket_open(socket_path);
  if (listener < 0) {
    Nv_Print("Fail to init nv socket\n");
    return -1;
  }
  (void)set_nonblocking(listener);
  Watch(listener);
  return 0;
}

int Nv_HandleSocket() {
  fd_set ready = master;
  timeval timeout = {.tv_sec = 0, .tv_usec = wait_us};
  const int count = select(highest + 1, &ready, nullptr, nullptr, &timeout);
  if (count < 0 && errno != EINTR) {
    const int error = errno;
    Nv_Print("%s Error: %d [%s]\n", "Nv_HandleSocket", error, std::strerror(error));
    return -1;
  }
  if (count <= 0) return 0;
  if (IsIn(listener, ready) && AcceptClient()) return 0;
  for (int& client : clients) {
    // Every client that was taken is served, whether or not its message is there yet.
    if (client > 0 && IsIn(client, master)) ServeClient(client);
  }
  return 0;
}

void Nv_CloseSocket() {
  if (listener > 0) (void)close(listener);
}
