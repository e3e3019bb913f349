// SPDX-License-Identifier: MIT
#include "platform/program.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

int Program_Print(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return 0;
  Program_Complain("standard output", std::strerror(errno));
  return 1;
}

void Program_Complain(const char* what, const char* why) {
  (void)std::fprintf(stderr, "%s: %s: %s\n", program_invocation_short_name, what, why);
}
