// SPDX-License-Identifier: MIT
// The camera's own adapter driver: a character device that knows the register-width request. It
// gets every request and buffer as it is.
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/host.h"
#include "platform/i2c_bus.h"

namespace {

int Request(int fd, unsigned long request, unsigned long argument) {
  return ioctl(fd, request, argument);
}

bool Claims(int fd) { return Request(fd, I2C_REQUEST_REGISTER_WIDTH, 1) >= 0; }

ssize_t Write(int fd, std::span<const std::uint8_t> buffer) {
  return write(fd, buffer.data(), buffer.size());
}

ssize_t Read(int fd, std::span<std::uint8_t> buffer) {
  return read(fd, buffer.data(), buffer.size());
}

}  // namespace

const I2cAdapter i2c_vendor_adapter = {
    .name = "vendor",
    .claims = Claims,
    .request = Request,
    .write = Write,
    .read = Read,
    .wait = Host_SleepMicroseconds,
};
