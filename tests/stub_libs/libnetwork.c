/* SPDX-License-Identifier: MIT */
/* A camera's socket library whose socket is never there. It asks the daemon to end instead, so that
 * the test needs neither a client nor a clock. */
#include "platform/libnetwork.h"

#include <signal.h>
#include <stdio.h>

int unix_socket_open(const char* path) {
  (void)printf("stub: %s\n", path);
  (void)raise(SIGTERM);
  return -1;
}

int set_nonblocking(int fd) { return (void)fd, -1; }
