// SPDX-License-Identifier: MIT
#include "daemon/signals.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <string_view>

#include "daemon/log.h"

volatile std::sig_atomic_t quit_flag;
volatile std::sig_atomic_t sigusr1_flag;

namespace {

// A handler may interrupt stdio in the middle of a line, so it writes for itself.
void WriteLine(std::string_view line) {
  const int error = errno;
  const ssize_t written = write(STDOUT_FILENO, line.data(), line.size());
  (void)written;  // a line that nobody can read is no reason to stop
  errno = error;
}

void ReportUnknownSignal(int number) {
  constexpr std::string_view words = "Unknown signal ";
  std::array<char, 32> line;
  auto* end = std::ranges::copy(words, line.begin()).out;
  end = std::to_chars(end, line.end() - 1, number).ptr;  // signal-safe: it calls nothing
  *end++ = '\n';
  WriteLine({line.data(), end});
}

}  // namespace

void Nv_QuitHandler(int number) {
  switch (number) {
    case SIGUSR1:
      sigusr1_flag = 1;
      break;
    case SIGTERM:
      quit_flag = 1;
      break;
    default:
      ReportUnknownSignal(number);
      break;
  }
}

void Nv_ToggleDebug(int /*number*/) {
  debug_flag = (debug_flag + 1) % 2;
  WriteLine(debug_flag == 1 ? "Nvd : Turn On debug mode\n" : "Nvd : Turn Off debug mode\n");
}

void Nv_InstallSignalHandlers() {
  // They fail for numbers that are no signals only.
  (void)std::signal(SIGUSR1, Nv_QuitHandler);
  (void)std::signal(SIGTERM, Nv_QuitHandler);
  (void)std::signal(SIGUSR2, Nv_ToggleDebug);
}
