// SPDX-License-Identifier: MIT
// What the fuzz targets share: a factory camera in memory, and a way to fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Stops the fuzzer: the input has shown what must not be.
[[noreturn]] void Fail(const char* what, long number = 0);

// The camera's own device.conf and templates on a chip that was filled from them.
void FitFactoryCamera();

// Starts the daemon and checks what a start must leave behind, whatever it found.
void StartAndCheck();

// Hands over a message and checks that nothing but its fields has changed in the chip's first
// bytes.
void SendAndCheck(std::string_view message, std::size_t chip_bytes);

// The input up to the next `end`, which is taken off as well.
std::string_view TakeUpTo(char end, std::string_view& input);
