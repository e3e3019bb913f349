// SPDX-License-Identifier: MIT
#include "tests/fakes/i2c_device.h"

#include <cerrno>
#include <cstdarg>

#include "platform/i2c_bus.h"

I2cDevice i2c_device;

extern "C" int __wrap_ioctl(int fd, unsigned long request, ...);  // NOLINT: the linker's name
int __wrap_ioctl(int, unsigned long request, ...) {               // NOLINT
  std::va_list arguments;
  va_start(arguments, request);
  const auto* call = va_arg(arguments, const i2c_rdwr_ioctl_data*);
  va_end(arguments);
  if (request == I2C_RDWR) return i2c_device.transfer({call->msgs, call->nmsgs});
  if (i2c_device.is_vendors) return 0;
  errno = ENOTTY;
  return -1;
}
