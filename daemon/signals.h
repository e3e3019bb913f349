// SPDX-License-Identifier: MIT
// Signals: SIGTERM ends the daemon, SIGUSR1 is absorbed, SIGUSR2 toggles the traces.
#pragma once

#include <csignal>

// Set by SIGTERM; ends the main loop.
extern volatile std::sig_atomic_t quit_flag;

// Set by SIGUSR1, which is caught so that it does not end the daemon; nobody reads it.
extern volatile std::sig_atomic_t sigusr1_flag;

void Nv_InstallSignalHandlers();

// The handlers.
void Nv_QuitHandler(int number);
void Nv_ToggleDebug(int number);
