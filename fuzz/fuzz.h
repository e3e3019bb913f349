// SPDX-License-Identifier: MIT
// What the fuzz targets share: a factory camera in memory, and a way to fail.
#pragma once

#include <string_view>

// The target of this program: runs one input.
void FuzzOneInput(std::string_view input);

// Stops the fuzzer: the input has shown what must not be.
[[noreturn]] void Fail(const char* what, unsigned long number = 0);

// The simulated camera's own device.conf and templates on an EEPROM that was filled from them.
void FitFilledCamera();

// Starts the daemon and checks what a start must leave behind, whatever it found.
void StartAndCheck();

// Hands over a message and checks that it writes to the sections' payloads only, and does nothing
// else.
void SendAndCheck(std::string_view message);

// The input up to the next `end`, which is taken off as well.
std::string_view TakeUpTo(char end, std::string_view& input);
