// SPDX-License-Identifier: MIT
#include "platform/gpio.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace {

// The level a file's line has after a request; a read changes nothing.
int RequestOnFile(int fd, unsigned long request, off_t line, off_t lines) {
  if (line < 0 || line >= lines) {
    errno = EINVAL;
    return -1;
  }
  std::uint8_t level = request == GPIO_REQUEST_DRIVE_ACTIVE ? 1 : 0;
  switch (request) {
    case GPIO_REQUEST_INPUT:
      return 0;
    case GPIO_REQUEST_READ:
      return pread(fd, &level, 1, line) == 1 ? level : -1;
    case GPIO_REQUEST_DRIVE_ACTIVE:
    case GPIO_REQUEST_DRIVE_RESTING:
      return pwrite(fd, &level, 1, line) == 1 ? 0 : -1;
    default:
      errno = ENOTTY;
      return -1;
  }
}

}  // namespace

int Gpio_Open(const char* path) { return open(path, O_RDWR | O_CLOEXEC); }

void Gpio_Close(int fd) { (void)close(fd); }

int Gpio_Request(int fd, unsigned long request, int line) {
  struct stat status {};
  if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) {
    return RequestOnFile(fd, request, line, status.st_size);
  }
  return ioctl(fd, request, line);
}
