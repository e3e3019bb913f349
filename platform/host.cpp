// SPDX-License-Identifier: MIT
#include "platform/host.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

void Host_ReserveStandardDescriptors() {
  int fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO) fd = open("/dev/null", O_RDWR);
  if (fd >= 0) (void)close(fd);
}

std::uint32_t Host_Time() { return static_cast<std::uint32_t>(std::time(nullptr)); }

void Host_SleepMicroseconds(unsigned microseconds) {
  constexpr long ns_per_us = 1000;
  constexpr long ns_per_s = 1000000000;
  constexpr unsigned us_per_s = 1000000;
  timespec deadline{};
  (void)clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += static_cast<std::time_t>(microseconds / us_per_s);
  deadline.tv_nsec += static_cast<long>(microseconds % us_per_s) * ns_per_us;
  if (deadline.tv_nsec >= ns_per_s) {
    deadline.tv_nsec -= ns_per_s;
    ++deadline.tv_sec;
  }
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
}

void Host_SleepSeconds(unsigned seconds) { (void)sleep(seconds); }
