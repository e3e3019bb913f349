// SPDX-License-Identifier: MIT
// A regular file as the chip: its bytes are the chip's bytes. What lies past its end reads 0xFF, as
// an erased chip does, and a write past the end fills the gap with 0xFF.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

#include "platform/i2c_bus.h"

namespace {

constexpr std::uint8_t erased = 0xFF;

I2cSelection selection;

off_t RegisterOffset(std::span<const std::uint8_t> buffer) {
  return static_cast<off_t>(I2c_FlatAddress(selection, buffer));
}

bool Claims(int fd) {
  struct stat status {};
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return false;
  selection = I2cSelection();
  return true;
}

int Request(int fd, unsigned long request, unsigned long argument) {
  (void)fd;
  return I2c_Select(selection, request, argument);
}

// A byte at a time: there is hardly ever a gap.
int FillGap(int fd, off_t offset) {
  for (off_t end = lseek(fd, 0, SEEK_END); end < offset; ++end) {
    if (end < 0 || pwrite(fd, &erased, 1, end) != 1) return -1;
  }
  return 0;
}

ssize_t Write(int fd, std::span<const std::uint8_t> buffer) {
  if (buffer.size() != 2 + selection.data_bytes) {
    errno = EINVAL;
    return -1;
  }
  std::array<std::uint8_t, 2> data{};
  std::reverse_copy(buffer.begin() + 2, buffer.end(), data.begin());
  const off_t offset = RegisterOffset(buffer);
  if (FillGap(fd, offset) != 0) return -1;
  const ssize_t written = pwrite(fd, data.data(), selection.data_bytes, offset);
  return written == static_cast<ssize_t>(selection.data_bytes) ? static_cast<ssize_t>(buffer.size())
                                                               : -1;
}

ssize_t Read(int fd, std::span<std::uint8_t> buffer) {
  std::uint8_t data = erased;
  if (pread(fd, &data, 1, RegisterOffset(buffer)) < 0) return -1;
  buffer[0] = data;
  return static_cast<ssize_t>(buffer.size());
}

void NoWriteCycle(unsigned microseconds) { (void)microseconds; }

}  // namespace

const I2cAdapter i2c_image_adapter = {
    .name = "image file",
    .claims = Claims,
    .request = Request,
    .write = Write,
    .read = Read,
    .wait = NoWriteCycle,
};
