// SPDX-License-Identifier: MIT
#include "daemon/signals.h"

#include <unistd.h>

#include <array>
#include <cerrno>
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
  auto* end = line.end();
  *--end = '\n';
  const bool negative = number < 0;
  unsigned rest = negative ? 0U - static_cast<unsigned>(number) : static_cast<unsigned>(number);
  do {
    *--end = static_cast<char>('0' + rest % 10);
    rest /= 10;
  } while (rest != 0);
  if (negative) *--end = '-';
  for (std::size_t i = words.size(); i-- > 0;) *--end = words[i];
  WriteLine({end, static_cast<std::size_t>(line.end() - end)});
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

void Nv_ToggleDebug(int number) {
  (void)number;
  debug_flag = (debug_flag + 1) % 2;
  WriteLine(debug_flag == 1 ? "Nvd : Turn On debug mode\n" : "Nvd : Turn Off debug mode\n");
}

void Nv_InstallSignalHandlers() {
  (void)std::signal(SIGUSR1, Nv_QuitHandler);
  (void)std::signal(SIGTERM, Nv_QuitHandler);
  (void)std::signal(SIGUSR2, Nv_ToggleDebug);
}
