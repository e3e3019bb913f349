// SPDX-License-Identifier: MIT
// The exact traffic of every primitive, on the bus of the camera's own driver and on the kernel's
// I2C devices: also when transfers are refused, cut short or interrupted. And sections on top of
// that.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "eeprom/i2c_eeprom.h"
#include "platform/i2c_bus.h"
#include "sections/section.h"
#include "tests/fakes/emulated_camera.h"
#include "tests/fakes/i2c_device.h"

// Tests that run at the same time share the device.
extern "C" int __wrap_flock(int fd, int operation);
extern "C" int __wrap_flock(int, int) { return 0; }

namespace {

using namespace std::string_view_literals;

int fd = 7;
constexpr ByteOrder big = ByteOrder::big_endian;
constexpr ByteOrder little = ByteOrder::little_endian;

int Read(std::uint32_t address, int count, std::uint32_t start = 0) {
  EEprom_Read(fd, address, start, count);
  return static_cast<int>(start);
}

struct Case {
  std::function<long()> call;
  const char* traffic;
  std::vector<int> results =
      {};  // of the kernel's transfers: the messages done, or minus the error
  int result = 0;
};

void Check(const Case& each) {
  long result = 0;
  EXPECT_EQ(each.traffic, TrafficOf([&] { result = each.call(); }));
  EXPECT_EQ(each.result, result) << each.traffic;
}

TEST(I2cEeprom, SendsExactlyTheseTransfers) {
  static std::array<std::uint8_t, 2> two;
  // clang-format off
  const std::vector<Case> cases = {
      {[] { return EEprom_WriteByte(fd, 0x1234, 0xAB); },             "A0 w00 [34 12 AB] ~ "},
      {[] { return EEprom_WriteWord(fd, 0x12, 0x11225678, big); },    "A0 w01 [12 00 78 56] ~ "},
      {[] { return EEprom_WriteDword(fd, 0x10, 0x01020304, big); },   "A0 w01 [10 00 02 01] ~ w01 [12 00 04 03] ~ "},
      // A pair across a page goes out byte by byte, without choosing the block again.
      {[] { return EEprom_WriteDword(fd, 0xFD, 0x01020304, little); }, "A0 w01 [FD 00 03 04] ~ w00 [FF 00 02] ~ [00 01 01] ~ "},
      {[] { return EEprom_WriteWord(fd, 0x3FFFF, 0x0201, little); },  "A6 w00 [FF FF 01] ~ [00 00 02] ~ "},
      {[] { return EEprom_WriteValue(fd, 0x20, 0xFF010203, 3, big); }, "A0 w01 [20 00 02 01] ~ w00 [22 00 03] ~ "},
      {[] { return EEprom_WriteByte(fd, 0x70001, 9); },               "AE w00 [01 00 09] ~ "},
      {[] { return Read(0x1FE, 2) * 0; },                             "A1 (FE 01) (FF 01) "},
      {[] { EEprom_ReadBytes(fd, 0x1FFFF, two); return 0; },          "A3 (FF FF) A5 (00 00) "},
  };
  // clang-format on
  FitCamera();
  for (const Case& each : cases) Check(each);
  for (const int refused : {0, 1}) {
    FitCamera();
    camera.refuse_write = refused;
    EXPECT_EQ("I2C_WRITE error!\n",
              OutputOf([] { EXPECT_EQ(-1, EEprom_WriteDword(fd, 0x00FF, 0x11223344, big)); }));
    EXPECT_EQ(refused + 1, std::ssize(camera.writes)) << "it stops there";
  }
}

TEST(I2cEeprom, ReadsByteByByte) {
  FitCamera();
  Store(0x1FE, "SPRKwx");
  EXPECT_EQ(0x40000053, Read(0x1FE, 1, 0x40000000)) << "ORed into what was there";
  EXPECT_EQ(0x5350, Read(0x1FE, 2));
  EXPECT_EQ(0x525053, Read(0x1FE, 3)) << "gathered, not converted";
  EXPECT_EQ(0x5350524B, Read(0x1FE, 4));
  EXPECT_EQ(0x4B525053, Read(0x1FE, 6));
  camera.absent = true;
  EXPECT_EQ(0xFEFF, Read(0x1FE, 2)) << "the low address bytes";
}

// Opens a device whose transfers end with these results, all behind them well. Every byte that is
// read is 77.
int OpenDevice(const std::vector<int>& results) {
  FitCamera();
  i2c_device.transfer = [results, n = 0U](std::span<i2c_msg> messages) mutable {
    for (const auto& [address, flags, size, bytes] : messages) {
      if (flags == I2C_M_RD) bytes[0] = 0x77;
      Record("", std::array{static_cast<std::uint8_t>(address)}, flags == I2C_M_RD ? "r" : "w");
      Record("[", {bytes, size}, "] ");
    }
    const int result = n < results.size() ? results[n++] : static_cast<int>(messages.size());
    errno = -result;
    return std::max(result, -1);
  };
  return I2c_Open("/dev/null");
}

TEST(I2cKernel, IsChosenForADeviceThatIsNotTheVendors) {
  const int device = OpenDevice({});
  EXPECT_EQ(&i2c_kernel_adapter, I2c_UseAdapter(&i2c_kernel_adapter));
  (void)EEprom_Close(device);
  EXPECT_EQ(-1, fcntl(device, F_GETFD)) << "closed";
  (void)EEprom_Close(0);
  EXPECT_NE(-1, fcntl(0, F_GETFD)) << "counts as not open";
  i2c_device.is_vendors = true;
  I2c_Close(I2c_Open("/dev/null"));
  EXPECT_EQ(&i2c_vendor_adapter, I2c_UseAdapter(nullptr));
  i2c_device.is_vendors = false;
}

// The chip wraps inside its pages, the smallest of which have 32 bytes. It answers nothing in its
// write cycle (~), which an interrupted transfer may have begun.
TEST(I2cKernel, MakesExactlyTheseTransfers) {
  const auto pair_across_pages = [] { return EEprom_WriteWord(fd, 0x0051F, 0x1122, big); };
  const auto read = [] { return Read(0x1234, 1); };
  // clang-format off
  const std::vector<Case> cases = {
      {[] { return EEprom_WriteWord(fd, 0x7051E, 0x1122, big); }, "57w[05 1E 11 22] ~ "},
      {[] { return EEprom_WriteWord(fd, 0x2051F, 0x1122, big); }, "52w[05 1F 11] ~ 52w[05 20 22] ~ "},
      {pair_across_pages,                                        "50w[05 1F 11] ", {-ENXIO}, -1},
      {pair_across_pages,                                        "50w[05 1F 11] ~ 50w[05 20 22] ", {1, -ENXIO}, -1},
      {[] { return EEprom_WriteByte(fd, 0x40, 0xAB); },          "50w[00 40 AB] ~ 50w[00 40 AB] ~ 50w[00 40 AB] ~ ", {-EINTR, -EINTR}},
      {[] { return I2c_Write(fd, std::array<std::uint8_t, 5>{}); }, "", {}, -1},
      {read,                                                     "50w[12 34] 50r[77] ", {}, 0x77},
      {read,                                                     "50w[12 34] 50r[77] ~ 50w[12 34] 50r[77] ", {-EINTR}, 0x77},
      {read,                                                     "50w[12 34] 50r[77] ", {-ENXIO}, 0x34},
      {read,                                                     "50w[12 34] 50r[77] ", {1}, 0x34},
  };
  // clang-format on
  for (const Case& each : cases) {
    fd = OpenDevice(each.results);
    Check(each);
    I2c_Close(fd);
  }
  fd = 7;
}

TEST(Section, OfAnUnknownTypeLeavesItsHeader) {
  FitCamera();
  SectionRecord record;
  record.type = SectionType{77};
  record.address = 100;
  EXPECT_FALSE(Section_Prepare(record));
  EXPECT_EQ("EEprom_WriteSection: Unknown section type 77.\n",
            OutputOf([&record] { EXPECT_EQ(0, EEprom_WriteSection(fd, record)); }));
  EXPECT_EQ(100U, record.address);
  EXPECT_EQ("\0\0\0M\0\0\0\0\0\xFF"sv, Stored(100, 10));
  record.data.resize(1);
  EXPECT_EQ("EEprom_ReadSection: Unknown section type 77.\n",
            OutputOf([&record] { EXPECT_EQ(-1, EEprom_ReadSection(fd, record)); }));
  EXPECT_TRUE(record.data.empty());
}

}  // namespace
