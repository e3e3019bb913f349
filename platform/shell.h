// SPDX-License-Identifier: MIT
// Shell commands. A file of their own, so that a program that must run none links another in its
// place.
#pragma once

#include <span>

// Runs a command through the shell and waits for its end (system(3)). Returns its wait status.
int Shell_Run(const char* command);

// Runs a command through the shell and reads the first white-space delimited word that it prints
// into `word`, cut to word.size() - 1 characters and terminated. Returns false, with `word` empty,
// when the command could not be started or printed nothing.
bool Shell_ReadFirstWord(const char* command, std::span<char> word);
