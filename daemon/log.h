// SPDX-License-Identifier: MIT
// Where the daemon's lines go: progress and failures to standard output, as they happen; the few
// events that outlive a session to syslog.
#pragma once

#include <csignal>

inline constexpr const char* log_ident = "Nv daemon";

// Non-zero while the traces ("## NVD : ...") are on; toggled by SIGUSR2.
extern volatile std::sig_atomic_t debug_flag;

// Prints to standard output as printf(3) does. What can't be printed is lost: the daemon's work
// does not depend on who listens.
[[gnu::format(printf, 1, 2)]] void Nv_Print(const char* format, ...);

// Formats a line (cut to 4095 bytes) and hands it to syslog(3) with facility LOG_USER.
[[gnu::format(printf, 3, 4)]] void Nv_Syslog(const char* ident, int priority, const char* format,
                                             ...);
