// SPDX-License-Identifier: MIT
// The kernel's own I2C character devices (i2c-dev), whose drivers know nothing of register widths:
// each transfer is put together here and goes out through I2C_RDWR. That request names the chip in
// every message, so it also reaches a chip that a kernel driver has bound.
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

#include "platform/host.h"
#include "platform/i2c_bus.h"

namespace {

// A chip wraps inside a page when a write runs past the page's end. 32 bytes is the smallest page
// among chips with 16-bit register addresses; a larger page's ends are ends of these as well.
constexpr unsigned page_size = 32;

bool Claims(int fd) { return I2c_Claims(fd, S_IFCHR); }

// Returns 0 when all messages went through, or -1 with errno set. An interrupted write may have
// started the chip's write cycle, during which the chip answers nothing.
int Transfer(int fd, std::span<i2c_msg> messages) {
  const int count = static_cast<int>(messages.size());
  i2c_rdwr_ioctl_data transfer{messages.data(), static_cast<std::uint32_t>(count)};
  int done = ioctl(fd, I2C_RDWR, &transfer);
  while (done < 0 && errno == EINTR) {
    Host_SleepMicroseconds(I2C_WRITE_CYCLE_US);
    done = ioctl(fd, I2C_RDWR, &transfer);
  }
  return done == count ? 0 : -1;
}

// On the bus a device address has 7 bits; the driver adds the direction.
i2c_msg Message(std::uint16_t flags, std::span<std::uint8_t> bytes) {
  return {.addr = static_cast<std::uint16_t>((i2c_selection.device_address >> 1U) & 0x7FU),
          .flags = flags,
          .len = static_cast<std::uint16_t>(bytes.size()),
          .buf = bytes.data()};
}

// As the chip wants its register address.
std::array<std::uint8_t, 2> BigEndian(unsigned address) {
  return {static_cast<std::uint8_t>(address >> 8U), static_cast<std::uint8_t>(address)};
}

// Writes to ascending addresses of one page.
int WriteInPage(int fd, unsigned address, std::span<const std::uint8_t> data) {
  std::array<std::uint8_t, 4> bytes{};
  const auto behind_address = std::ranges::copy(BigEndian(address), bytes.begin()).out;
  std::copy(data.begin(), data.end(), behind_address);
  i2c_msg message = Message(0, std::span(bytes).first(2 + data.size()));
  return Transfer(fd, {&message, 1});
}

ssize_t Write(int fd, std::span<const std::uint8_t> buffer) {
  std::array<std::uint8_t, 2> bytes{};
  std::span<const std::uint8_t> data = I2c_Data(buffer, bytes);
  if (data.empty()) return -1;
  unsigned address = I2c_RegisterAddress(buffer);
  if (data.size() > 1 && address % page_size == page_size - 1) {
    if (WriteInPage(fd, address++, data.first(1)) != 0) return -1;
    Host_SleepMicroseconds(I2C_WRITE_CYCLE_US);  // the caller waits after the last write only
    data = data.subspan(1);
  }
  return WriteInPage(fd, address, data) == 0 ? std::ssize(buffer) : -1;
}

ssize_t Read(int fd, std::span<std::uint8_t> buffer) {
  auto address = BigEndian(I2c_RegisterAddress(buffer));
  std::uint8_t data = 0;
  std::array messages = {Message(0, address), Message(I2C_M_RD, {&data, 1})};
  if (Transfer(fd, messages) != 0) return -1;
  buffer[0] = data;
  return std::ssize(buffer);
}

}  // namespace

const I2cAdapter i2c_kernel_adapter = {
    .name = "kernel i2c-dev",
    .claims = Claims,
    .request = I2c_Select,
    .write = Write,
    .read = Read,
    .wait = Host_SleepMicroseconds,
};
