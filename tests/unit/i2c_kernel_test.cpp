// SPDX-License-Identifier: MIT
// The adapter for the kernel's I2C devices: which transfers it makes, and what it does when they
// are refused, cut short or interrupted.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "eeprom/i2c_eeprom.h"
#include "platform/i2c_bus.h"
#include "tests/fakes/emulated_camera.h"
#include "tests/fakes/i2c_device.h"

// Tests that run at the same time share the device.
extern "C" int __wrap_flock(int fd, int operation);
extern "C" int __wrap_flock(int, int) { return 0; }

namespace {

using Results = std::vector<int>;

// Opens a device whose transfers end with these results, all behind them well. Every byte that is
// read is 77.
int OpenDevice(const Results& results) {
  FitCamera();
  i2c_device.is_vendors = false;
  i2c_device.transfer = [left = results](std::span<i2c_msg> messages) mutable {
    int result = static_cast<int>(messages.size());
    if (!left.empty()) {
      result = left.front();
      left.erase(left.begin());
    }
    for (const auto& [address, flags, size, bytes] : messages) {
      if (flags == I2C_M_RD) bytes[0] = 0x77;
      Record("", std::array{static_cast<std::uint8_t>(address)}, flags == I2C_M_RD ? "r" : "w");
      Record("[", {bytes, size}, "] ");
    }
    errno = -result;
    return std::max(result, -1);
  };
  return I2c_Open("/dev/null");
}

TEST(I2cKernel, IsChosenForADeviceThatIsNotTheVendors) {
  const int fd = OpenDevice({});
  EXPECT_EQ(&i2c_kernel_adapter, I2c_UseAdapter(&i2c_kernel_adapter));
  (void)EEprom_Close(fd);
  EXPECT_EQ(-1, fcntl(fd, F_GETFD)) << "closed";
  (void)EEprom_Close(0);
  EXPECT_NE(-1, fcntl(0, F_GETFD)) << "counts as not open";
  i2c_device.is_vendors = true;
  I2c_Close(I2c_Open("/dev/null"));
  EXPECT_EQ(&i2c_vendor_adapter, I2c_UseAdapter(nullptr));
}

int device = -1;
int Byte(std::uint32_t address) { return EEprom_WriteByte(device, address, 0xAB); }
int Pair(std::uint32_t address) {
  return EEprom_WriteWord(device, address, 0x1122, ByteOrder::big_endian);
}
int Read(std::uint32_t address) {
  std::uint32_t value = 0;
  EEprom_Read(device, address, value, 1);
  return static_cast<int>(value);
}
int BadWidth(std::uint32_t) {
  return static_cast<int>(I2c_Write(device, std::array<std::uint8_t, 5>{}));
}

struct Case {
  int (*call)(std::uint32_t address);
  std::uint32_t address;
  Results results;  // of its transfers: messages that went through, or the negative error
  int result;
  const char* traffic;
};
// The chip wraps inside its pages, the smallest of which have 32 bytes. It answers nothing in its
// write cycle (~), which an interrupted transfer may have begun.
// clang-format off
const std::vector<Case> cases = {
    {Byte,     0x01234, {},               0,    "50w[12 34 AB] ~ "},
    {Pair,     0x7051E, {},               0,    "57w[05 1E 11 22] ~ "},
    {Pair,     0x2051F, {},               0,    "52w[05 1F 11] ~ 52w[05 20 22] ~ "},
    {Pair,     0x0051F, {-ENXIO},         -1,   "50w[05 1F 11] "},
    {Pair,     0x0051F, {1, -ENXIO},      -1,   "50w[05 1F 11] ~ 50w[05 20 22] "},
    {Byte,     0x00040, {-EINTR, -EINTR}, 0,    "50w[00 40 AB] ~ 50w[00 40 AB] ~ 50w[00 40 AB] ~ "},
    {BadWidth, 0x00000, {},               -1,   ""},
    {Read,     0x01234, {},               0x77, "50w[12 34] 50r[77] "},
    {Read,     0x01234, {-EINTR},         0x77, "50w[12 34] 50r[77] ~ 50w[12 34] 50r[77] "},
    {Read,     0x01234, {-ENXIO},         0x34, "50w[12 34] 50r[77] "},
    {Read,     0x01234, {1},              0x34, "50w[12 34] 50r[77] "},
};
// clang-format on

TEST(I2cKernel, MakesExactlyTheseTransfers) {
  for (const auto& [call, address, results, result, traffic] : cases) {
    device = OpenDevice(results);
    int seen = 0;
    EXPECT_EQ(traffic, TrafficOf([&] { seen = call(address); }));
    EXPECT_EQ(result, seen) << traffic;
    I2c_Close(device);
  }
  EXPECT_EQ(11U, cases.size());
}

}  // namespace
