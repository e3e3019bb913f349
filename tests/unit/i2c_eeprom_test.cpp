// SPDX-License-Identifier: MIT
// The exact bus traffic of every primitive, and sections on top of them.
#include "eeprom/i2c_eeprom.h"

#include <gtest/gtest.h>

#include "sections/section.h"
#include "tests/fakes/emulated_camera.h"

namespace {

using namespace std::string_view_literals;

constexpr int fd = 7;
constexpr ByteOrder big = ByteOrder::big_endian;
constexpr ByteOrder little = ByteOrder::little_endian;

TEST(I2cEeprom, SendsExactlyTheseTransfers) {
  static constexpr std::array<std::uint8_t, 3> raw = {1, 2, 3};
  // clang-format off
  const std::vector<std::pair<std::function<int()>, const char*>> cases = {
      {[] { return EEprom_WriteByte(fd, 0x1234, 0xAB); },             "A0 w00 [34 12 AB] ~ "},
      {[] { return EEprom_WriteWord(fd, 0x12, 0x11225678, big); },    "A0 w01 [12 00 78 56] ~ "},
      {[] { return EEprom_WriteWord(fd, 0x12, 0x5678, little); },     "A0 w01 [12 00 56 78] ~ "},
      {[] { return EEprom_WriteDword(fd, 0x10, 0x01020304, big); },   "A0 w01 [10 00 02 01] ~ w01 [12 00 04 03] ~ "},
      // A pair across a page goes out byte by byte, without choosing the block again.
      {[] { return EEprom_WriteDword(fd, 0xFD, 0x01020304, little); }, "A0 w01 [FD 00 03 04] ~ w00 [FF 00 02] ~ [00 01 01] ~ "},
      {[] { return EEprom_WriteWord(fd, 0x3FFFF, 0x0201, little); },  "A6 w00 [FF FF 01] ~ [00 00 02] ~ "},
      {[] { return EEprom_WriteRaw(fd, 0x20, raw); },                 "A0 w01 [20 00 02 01] ~ w00 [22 00 03] ~ "},
      {[] { return EEprom_WriteValue(fd, 0x20, 0xFF010203, 3, big); }, "A0 w01 [20 00 02 01] ~ w00 [22 00 03] ~ "},
      {[] { return EEprom_WriteValue(fd, 0x20, 1, 0, big); },         "A0 "},
      {[] { return EEprom_WriteByte(fd, 0x20001, 9); },               "A4 w00 [01 00 09] ~ "},
      {[] { return EEprom_WriteByte(fd, 0x70001, 9); },               "AE w00 [01 00 09] ~ "},
  };
  // clang-format on
  FitCamera();
  for (const auto& [call, traffic] : cases) {
    EXPECT_EQ(traffic, TrafficOf([&call] { EXPECT_EQ(0, call()); }));
  }
}

TEST(I2cEeprom, StopsAtTheFirstRefusedTransfer) {
  for (const int refused : {0, 1}) {
    FitCamera();
    camera.refuse_write = refused;
    EXPECT_EQ("I2C_WRITE error!\n",
              OutputOf([] { EXPECT_EQ(-1, EEprom_WriteDword(fd, 0x00FF, 0x11223344, big)); }));
    EXPECT_EQ(refused + 1, std::ssize(camera.writes));
  }
}

TEST(I2cEeprom, ReadsByteByByte) {
  FitCamera();
  Store(0x1FE, "SPRKwx");
  const auto read = [](int count, std::uint32_t start = 0) {
    EEprom_Read(fd, 0x1FE, start, count);
    return start;
  };
  EXPECT_EQ(0x80000053U, read(1, 0x80000000)) << "ORed into what was there";
  EXPECT_EQ(0x5350U, read(2));
  EXPECT_EQ(0x525053U, read(3)) << "gathered, not converted";
  EXPECT_EQ(0x5350524BU, read(4));
  EXPECT_EQ(0x4B525053U, read(6));
  EXPECT_EQ("A1 (FE 01) (FF 01) ", TrafficOf([&] { (void)read(2); }));
  std::array<std::uint8_t, 2> bytes;
  EXPECT_EQ("A3 (FF FF) A5 (00 00) ", TrafficOf([&] { EEprom_ReadBytes(fd, 0x1FFFF, bytes); }));
  camera.absent = true;
  EXPECT_EQ(0xFEFFU, read(2)) << "the low address bytes";
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
  record.data.resize(10);
  EXPECT_EQ(4U, Section_Field(record, 6, 4).size());
  EXPECT_TRUE(Section_Field(record, 7, 4).empty()) << "all of it or nothing";
}

}  // namespace
