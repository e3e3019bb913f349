// SPDX-License-Identifier: MIT
// The GPIO driver "/dev/gpio". A regular file stands for the lines as well: one byte a line, the
// line's level.
#pragma once

// Requests of the driver; their argument is the line's number.
inline constexpr unsigned long GPIO_REQUEST_INPUT = 3;  // make the line an input
inline constexpr unsigned long GPIO_REQUEST_DRIVE_ACTIVE = 5;
inline constexpr unsigned long GPIO_REQUEST_DRIVE_RESTING = 6;
inline constexpr unsigned long GPIO_REQUEST_READ = 22;  // the result is the line's level

// Opens the device read-write. Returns the descriptor, or -1.
int Gpio_Open(const char* path);
void Gpio_Close(int fd);

// Returns what the driver returns, a negative value on failure.
int Gpio_Request(int fd, unsigned long request, int line);
