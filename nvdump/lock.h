// SPDX-License-Identifier: MIT
// Whether a daemon is at work on a device.
#pragma once

// Whether anybody holds the lock of an open device, as a running daemon does.
bool Device_IsLocked(int fd);
