// SPDX-License-Identifier: MIT
#include "platform/i2c_bus.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

// In the order in which they are asked.
constexpr std::array adapters = {&i2c_vendor_adapter, &i2c_image_adapter, &i2c_kernel_adapter};

const I2cAdapter* chosen = &i2c_vendor_adapter;

// False when no adapter speaks to the open device.
bool Choose(int fd) {
  const auto adapter = std::find_if(adapters.begin(), adapters.end(),
                                    [fd](const I2cAdapter* each) { return each->claims(fd); });
  if (adapter == adapters.end()) return false;
  chosen = *adapter;
  return true;
}

}  // namespace

I2cSelection i2c_selection;

bool I2c_Claims(int fd, mode_t type) {
  struct stat status {};
  if (fstat(fd, &status) != 0 || (status.st_mode & S_IFMT) != type) return false;
  i2c_selection = I2cSelection();
  return true;
}

int I2c_Select(int /*fd*/, unsigned long request, unsigned long argument) {
  switch (request) {
    case I2C_SLAVE_FORCE:
      i2c_selection.device_address = argument;
      return 0;
    case I2C_REQUEST_REGISTER_WIDTH:
      return 0;
    case I2C_REQUEST_DATA_WIDTH:
      i2c_selection.data_bytes = argument == 0 ? 1 : 2;
      return 0;
    default:
      errno = ENOTTY;
      return -1;
  }
}

unsigned I2c_RegisterAddress(std::span<const std::uint8_t> buffer) {
  return buffer[0] | (unsigned{buffer[1]} << 8U);
}

std::size_t I2c_FlatAddress(std::span<const std::uint8_t> buffer) {
  const std::size_t block = (i2c_selection.device_address & 0x0EU) << 15U;
  return block + I2c_RegisterAddress(buffer);
}

std::span<const std::uint8_t> I2c_Data(std::span<const std::uint8_t> buffer,
                                       std::array<std::uint8_t, 2>& data) {
  if (buffer.size() != 2 + i2c_selection.data_bytes) {
    errno = EINVAL;
    return {};
  }
  std::ranges::reverse_copy(buffer.subspan(2), data.begin());
  return std::span(data).first(i2c_selection.data_bytes);
}

int I2c_Open(const char* path) {
  const int fd = open(path, O_RDWR | O_CLOEXEC);
  if (fd < 0) return -1;
  if (flock(fd, LOCK_EX | LOCK_NB) == 0 && Choose(fd)) return fd;
  (void)close(fd);
  return -1;
}

int I2c_OpenToRead(const char* path) {
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0 || Choose(fd)) return fd;
  (void)close(fd);
  return -1;
}

const char* I2c_AdapterName() { return chosen->name; }

void I2c_Close(int fd) { (void)close(fd); }

int I2c_Request(int fd, unsigned long request, unsigned long argument) {
  return chosen->request(fd, request, argument);
}

ssize_t I2c_Write(int fd, std::span<const std::uint8_t> buffer) {
  return chosen->write(fd, buffer);
}

ssize_t I2c_Read(int fd, std::span<std::uint8_t> buffer) { return chosen->read(fd, buffer); }

void I2c_Wait(unsigned microseconds) { chosen->wait(microseconds); }

const I2cAdapter* I2c_UseAdapter(const I2cAdapter* adapter) {
  const I2cAdapter* previous = chosen;
  chosen = adapter;
  return previous;
}
