// SPDX-License-Identifier: MIT
// A regular file as the chip: its bytes are the chip's bytes. What lies past its end reads 0xFF, as
// an erased chip does, and a write past the end fills the gap with 0xFF.
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <iterator>

#include "platform/i2c_bus.h"

namespace {

constexpr std::uint8_t erased = 0xFF;

bool Claims(int fd) { return I2c_Claims(fd, S_IFREG); }

// A byte at a time: there is hardly ever a gap.
int FillGap(int fd, off_t offset) {
  for (off_t end = lseek(fd, 0, SEEK_END); end < offset; ++end) {
    if (end < 0 || pwrite(fd, &erased, 1, end) != 1) return -1;
  }
  return 0;
}

ssize_t Write(int fd, std::span<const std::uint8_t> buffer) {
  std::array<std::uint8_t, 2> bytes{};
  const auto data = I2c_Data(buffer, bytes);
  if (data.empty()) return -1;
  const auto offset = static_cast<off_t>(I2c_FlatAddress(buffer));
  if (FillGap(fd, offset) != 0) return -1;
  const ssize_t written = pwrite(fd, data.data(), data.size(), offset);
  return written == std::ssize(data) ? std::ssize(buffer) : -1;
}

ssize_t Read(int fd, std::span<std::uint8_t> buffer) {
  std::uint8_t data = erased;
  if (pread(fd, &data, 1, static_cast<off_t>(I2c_FlatAddress(buffer))) < 0) return -1;
  buffer[0] = data;
  return std::ssize(buffer);
}

void NoWriteCycle(unsigned microseconds) { (void)microseconds; }

}  // namespace

const I2cAdapter i2c_image_adapter = {
    .name = "image file",
    .claims = Claims,
    .request = I2c_Select,
    .write = Write,
    .read = Read,
    .wait = NoWriteCycle,
};
