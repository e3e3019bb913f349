// SPDX-License-Identifier: MIT
// The machine's services that a test wants to answer itself: time and waiting.
#pragma once

#include <cstdint>

// Opens /dev/null for each of the three standard descriptors that is closed, so that no device is
// opened in its place and written to as standard output. The first thing that a daemon does.
void Host_ReserveStandardDescriptors();

// Seconds since 1970-01-01 00:00 UTC, the low 32 bits.
std::uint32_t Host_Time();

// Waits that long; signals neither end nor lengthen the wait, nor does a clock that is set.
void Host_SleepMicroseconds(unsigned microseconds);

// Waits that long; a signal ends the wait early (sleep(3)).
void Host_SleepSeconds(unsigned seconds);
