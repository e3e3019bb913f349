// SPDX-License-Identifier: MIT
// The control socket "/tmp/nv.sck": a local stream socket, one message of at most 128 bytes for
// each connection, no reply.
#pragma once

// Opens the socket. Returns 0; or -1, with "Fail to init nv socket".
int Nv_InitSocket();

// Waits at most 500 ms, then either takes one connection or serves the clients that were taken
// before: each until it has written, has gone, or quit_flag is set. Returns 0, or -1 after a failed
// wait.
int Nv_HandleSocket();

// Closes the socket; its file stays.
void Nv_CloseSocket();
