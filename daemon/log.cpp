// SPDX-License-Identifier: MIT
#include "daemon/log.h"

#include <syslog.h>

#include <array>
#include <cstdarg>
#include <cstdio>

volatile std::sig_atomic_t debug_flag;

void Nv_Print(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  (void)std::vprintf(format, arguments);
  va_end(arguments);
}

void Nv_Syslog(const char* ident, int priority, const char* format, ...) {
  std::array<char, 4096> line;
  std::va_list arguments;
  va_start(arguments, format);
  (void)std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  openlog(ident, 0, LOG_USER);
  syslog(priority, "%s", line.data());
  closelog();
}
