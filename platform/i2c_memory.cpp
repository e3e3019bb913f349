// SPDX-License-Identifier: MIT
#include "platform/i2c_memory.h"

#include <cerrno>

std::vector<std::uint8_t> i2c_memory;

namespace {

constexpr std::uint8_t erased = 0xFF;

I2cSelection selection;

bool NoDevice(int /*fd*/) { return false; }

int Request(int /*fd*/, unsigned long request, unsigned long argument) {
  return I2c_Select(selection, request, argument);
}

ssize_t Write(int /*fd*/, std::span<const std::uint8_t> buffer) {
  if (buffer.size() != 2 + selection.data_bytes) {
    errno = EINVAL;
    return -1;
  }
  std::size_t address = I2c_FlatAddress(selection, buffer);
  const std::size_t end = address + selection.data_bytes;
  if (end > i2c_memory.size()) i2c_memory.resize(end, erased);
  for (std::size_t i = buffer.size(); i-- > 2;) i2c_memory[address++] = buffer[i];
  return static_cast<ssize_t>(buffer.size());
}

ssize_t Read(int /*fd*/, std::span<std::uint8_t> buffer) {
  const std::size_t address = I2c_FlatAddress(selection, buffer);
  buffer[0] = address < i2c_memory.size() ? i2c_memory[address] : erased;
  return static_cast<ssize_t>(buffer.size());
}

void NoWriteCycle(unsigned /*microseconds*/) {}

}  // namespace

const I2cAdapter i2c_memory_adapter = {
    .name = "memory",
    .claims = NoDevice,
    .request = Request,
    .write = Write,
    .read = Read,
    .wait = NoWriteCycle,
};
