/* SPDX-License-Identifier: MIT */
/* The camera's socket library, as far as the daemon uses it. C linkage, so that a camera's own
 * library can be linked in the place of ours. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* Creates a Unix-domain stream socket, binds it to `path` (a stale socket file there is removed
 * first) and listens on it; see unix(7). Returns the descriptor, or -1. */
int unix_socket_open(const char* path);

/* Sets O_NONBLOCK on a descriptor. Returns 0, or -1. */
int set_nonblocking(int fd);

#ifdef __cplusplus
}
#endif
