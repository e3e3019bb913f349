// SPDX-License-Identifier: MIT
// What a program needs to tell the daemon something: one connection a message, and no answer.
#pragma once

#include <cstddef>
#include <string_view>

inline constexpr const char* notify_socket = "/tmp/nv.sck";
// The daemon takes that many bytes of a message and leaves the rest.
inline constexpr std::size_t notify_longest_message = 128;

// Connects to a daemon's socket and sends one message, as it is. Returns the connection, which the
// caller closes; or -1 with errno set. Waits for a busy daemon at most 5 s.
int Notify_Send(const char* socket_path, std::string_view message);

// Waits until the daemon has handled the message of that length: it hangs up then. Returns 0; or -1
// with errno set when it has hung up without reading the message (which one that is too long does
// not show) or has not hung up within 5 s.
int Notify_WaitForEnd(int connection, std::size_t length);

// Why one of the two has failed, from errno, in words.
const char* Notify_Reason();
