// SPDX-License-Identifier: MIT
// The exact bus traffic of every primitive, and sections on top of them.
#include "eeprom/i2c_eeprom.h"

#include <gtest/gtest.h>

#include "sections/section.h"
#include "tests/fakes/emulated_camera.h"

namespace {

constexpr int fd = 7;
constexpr ByteOrder big = ByteOrder::big_endian;
constexpr ByteOrder little = ByteOrder::little_endian;

std::string TrafficOf(const std::function<void()>& action) {
  camera.bus.clear();
  camera.records = true;
  action();
  camera.records = false;
  return camera.bus;
}

TEST(I2cEeprom, SendsExactlyTheseTransfers) {
  static constexpr std::array<std::uint8_t, 3> raw = {1, 2, 3};
  struct Case {
    std::function<int()> call;
    const char* traffic;
  };
  const std::vector<Case> cases = {
      {[] { return EEprom_WriteByte(fd, 0x1234, 0xAB); }, "0706=A0 070A=0 [34 12 AB] wait=10000 "},
      {[] { return EEprom_WriteWord(fd, 0x1234, 0x11225678, big); },
       "0706=A0 070A=1 [34 12 78 56] wait=10000 "},
      {[] { return EEprom_WriteWord(fd, 0x1234, 0x5678, little); },
       "0706=A0 070A=1 [34 12 56 78] wait=10000 "},
      {[] { return EEprom_WriteDword(fd, 0x10, 0x01020304, big); },
       "0706=A0 070A=1 [10 00 02 01] wait=10000 070A=1 [12 00 04 03] wait=10000 "},
      // A pair across a page goes out byte by byte.
      {[] { return EEprom_WriteDword(fd, 0xFD, 0x01020304, little); },
       "0706=A0 070A=1 [FD 00 03 04] wait=10000 "
       "070A=0 [FF 00 02] wait=10000 [00 01 01] wait=10000 "},
      {[] { return EEprom_WriteRaw(fd, 0x20, raw); },
       "0706=A0 070A=1 [20 00 02 01] wait=10000 070A=0 [22 00 03] wait=10000 "},
      {[] { return EEprom_WriteRaw(fd, 0x20, {}); }, "0706=A0 "},
      {[] { return EEprom_WriteValue(fd, 0x20, 0xFF010203, 3, big); },
       "0706=A0 070A=1 [20 00 02 01] wait=10000 070A=0 [22 00 03] wait=10000 "},
      {[] { return EEprom_WriteValue(fd, 0x20, 0xFF010203, 3, little); },
       "0706=A0 070A=1 [20 00 02 03] wait=10000 070A=0 [22 00 01] wait=10000 "},
      {[] { return EEprom_WriteValue(fd, 0x20, 1, 0, little); }, "0706=A0 "},
      // The blocks of both chips; a split does not choose the block again.
      {[] { return EEprom_WriteByte(fd, 0x20001, 9); }, "0706=A4 070A=0 [01 00 09] wait=10000 "},
      {[] { return EEprom_WriteByte(fd, 0x40001, 9); }, "0706=A8 070A=0 [01 00 09] wait=10000 "},
      {[] { return EEprom_WriteByte(fd, 0x70001, 9); }, "0706=AE 070A=0 [01 00 09] wait=10000 "},
      {[] { return EEprom_WriteWord(fd, 0x3FFFF, 0x0201, little); },
       "0706=A6 070A=0 [FF FF 01] wait=10000 [00 00 02] wait=10000 "},
  };
  for (const Case& each : cases) {
    FitCamera();
    EXPECT_EQ(each.traffic, TrafficOf([&] { EXPECT_EQ(0, each.call()); }));
  }
}

TEST(I2cEeprom, StopsAtTheFirstRefusedTransfer) {
  for (const unsigned refused : {0U, 1U}) {
    FitCamera();
    camera.refuse_write = refused;
    EXPECT_EQ("I2C_WRITE error!\n",
              OutputOf([] { EXPECT_EQ(-1, EEprom_WriteDword(fd, 0x00FF, 0x11223344, big)); }));
    EXPECT_EQ(refused + 1, camera.writes.size());
  }
}

TEST(I2cEeprom, ReadsByteByByte) {
  FitCamera();
  Store(0x1FE, "SPRKwx");
  const auto read = [](int count, std::uint32_t start = 0) {
    EEprom_Read(fd, 0x1FE, start, count);
    return start;
  };
  EXPECT_EQ(0x53U, read(1));
  EXPECT_EQ(0x5350U, read(2));
  EXPECT_EQ(0x525053U, read(3)) << "gathered, not converted";
  EXPECT_EQ(0x5350524BU, read(4));
  EXPECT_EQ(0x4B525053U, read(6));
  EXPECT_EQ(0x80000053U, read(1, 0x80000000)) << "ORed into what was there";
  EXPECT_EQ("0706=A1 (FE 01) (FF 01) ", TrafficOf([&] { (void)read(2); }));
  std::array<std::uint8_t, 2> bytes;
  EXPECT_EQ("0706=A3 (FF FF) 0706=A5 (00 00) ",
            TrafficOf([&] { EEprom_ReadBytes(fd, 0x1FFFF, bytes); }));
  camera.absent = true;
  EXPECT_EQ(0xFEFFU, read(2)) << "the low address bytes";
}

TEST(Section, RoundTripsThroughTheChip) {
  for (const std::uint32_t number : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 0x5350524BU}) {
    const SectionType type{number};
    FitCamera();
    SectionRecord written;
    written.type = type;
    written.address = 0x1F3;
    ASSERT_TRUE(Section_Prepare(written));
    const std::uint32_t end = written.next_address;
    std::uint8_t value = 0;
    for (std::uint8_t& byte : written.data) byte = ++value;
    EXPECT_EQ("499+" + std::to_string(end - 0x1F3), WrittenBy([&] {
                (void)OutputOf([&] { EXPECT_EQ(0, EEprom_WriteSection(fd, written)); });
              }));
    EXPECT_EQ(end, written.address);
    SectionRecord read;
    read.address = 0x1F3;
    EXPECT_EQ(0, EEprom_ReadSection(fd, read));
    EXPECT_EQ(type, read.type);
    EXPECT_EQ(end, read.next_address);
    EXPECT_EQ(written.data, read.data);
  }
}

TEST(Section, ReportsWhatItDoesNotKnow) {
  FitCamera();
  SectionRecord record;
  record.type = SectionType{11};
  record.address = 100;
  EXPECT_EQ("EEprom_WriteSection: Unknown section type 11.\n",
            OutputOf([&] { EXPECT_EQ(0, EEprom_WriteSection(fd, record)); }));
  EXPECT_EQ(100U, record.address);
  EXPECT_EQ(std::string("\0\0\0\x0B\0\0\0\0\0\xFF", 10), Stored(100, 10)) << "the header is there";

  const auto read = [&](std::string_view header) {
    Store(0, header);
    return OutputOf([&] { EXPECT_EQ(-1, EEprom_ReadSection(fd, record = SectionRecord())); });
  };
  using namespace std::string_view_literals;
  EXPECT_EQ("EEprom_ReadSection: Unknown section type -1.\n", read("\xFF\xFF\xFF\xFF\1\0\0\0\0"sv));
  EXPECT_EQ("Unsupported data version 2, section type 3\n", read("\0\0\0\3\2\0\0\0\0"sv));
  EXPECT_EQ("", read("SPRK\2\0\0\0\x2D"sv)) << "of another version without a word";
  camera.width_answer = -1;
  EXPECT_EQ("", read("SPRK\1\0\0\0\x2D"sv)) << "on a bus that refuses the width";
  EXPECT_TRUE(record.data.empty());
}

}  // namespace
