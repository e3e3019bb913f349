// SPDX-License-Identifier: MIT
// What the command-line programs have in common: how they print and fail.
#pragma once

#include <string>

// Writes the whole output. Returns the program's exit status: 0, or 1 when it can't be written.
int Program_Print(const std::string& text);

// One line on standard error, "PROGRAM: WHAT: WHY". There is nobody to tell when that fails.
void Program_Complain(const char* what, const char* why);
