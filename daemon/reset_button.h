// SPDX-License-Identifier: MIT
// The reset button, sampled once at start-up, and the status LED that shows the reset's progress.
#pragma once

#include <atomic>

// Set to end the fast blink.
extern std::atomic<int> led_stop_flag;

// Samples the button, and learns the LED's line on the way. Returns the button's level, 0 while it
// is held; or -1, with a line that says why, when it can't be read.
int Nv_CheckResetButton();

// The body of the fast blink's thread: 250 ms in each state until led_stop_flag is set.
void* Nv_ResetLedBlink(void* unused);

// The slow blink that says that a reset is complete. Returns only where there is no LED.
void Nv_FinishLedBlink();

// Overwrites the start of the identification section, so that the image counts as empty.
void Nv_ClearEepromHeader();
