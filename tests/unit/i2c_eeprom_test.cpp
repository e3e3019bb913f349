// SPDX-License-Identifier: MIT
// The exact bus traffic of every primitive, and sections on top of them.
#include "eeprom/i2c_eeprom.h"

#include <gtest/gtest.h>

#include "sections/section.h"
#include "tests/fakes/fake_chip.h"
#include "tests/fakes/fake_machine.h"

namespace {

constexpr int fd = 7;

BusEvent Chip(std::uint8_t address) { return Request(0x0706, address); }
BusEvent Width(std::uint8_t two_bytes) { return Request(0x070A, two_bytes); }
BusEvent Cycle() { return Wait(10000); }

struct WriteCase {
  const char* what;
  std::function<int()> call;
  BusEvents events;
};

TEST(I2cEeprom, SendsExactlyTheseTransfers) {
  static constexpr std::array<std::uint8_t, 3> raw = {1, 2, 3};
  const std::vector<WriteCase> cases = {
      {"byte",
       [] { return EEprom_WriteByte(fd, 0x1234, 0xAB); },
       {Chip(0xA0), Width(0), Write({0x34, 0x12, 0xAB}), Cycle()}},
      {"big-endian word",
       [] { return EEprom_WriteWord(fd, 0x1234, 0x11225678, ByteOrder::big_endian); },
       {Chip(0xA0), Width(1), Write({0x34, 0x12, 0x78, 0x56}), Cycle()}},
      {"little-endian word",
       [] { return EEprom_WriteWord(fd, 0x1234, 0x5678, ByteOrder::little_endian); },
       {Chip(0xA0), Width(1), Write({0x34, 0x12, 0x56, 0x78}), Cycle()}},
      {"word across a page",
       [] { return EEprom_WriteWord(fd, 0x12FF, 0x5678, ByteOrder::big_endian); },
       {Chip(0xA0), Width(0), Write({0xFF, 0x12, 0x56}), Cycle(), Write({0x00, 0x13, 0x78}),
        Cycle()}},
      {"big-endian dword",
       [] { return EEprom_WriteDword(fd, 0x10, 0x01020304, ByteOrder::big_endian); },
       {Chip(0xA0), Width(1), Write({0x10, 0, 2, 1}), Cycle(), Width(1), Write({0x12, 0, 4, 3}),
        Cycle()}},
      {"little-endian dword, second pair across a page",
       [] { return EEprom_WriteDword(fd, 0xFD, 0x01020304, ByteOrder::little_endian); },
       {Chip(0xA0), Width(1), Write({0xFD, 0, 3, 4}), Cycle(), Width(0), Write({0xFF, 0, 2}),
        Cycle(), Write({0, 1, 1}), Cycle()}},
      {"raw of 3",
       [] { return EEprom_WriteRaw(fd, 0x20, raw); },
       {Chip(0xA0), Width(1), Write({0x20, 0, 2, 1}), Cycle(), Width(0), Write({0x22, 0, 3}),
        Cycle()}},
      {"raw of nothing", [] { return EEprom_WriteRaw(fd, 0x20, {}); }, {Chip(0xA0)}},
      {"big-endian value of 3",
       [] { return EEprom_WriteValue(fd, 0x20, 0xFF010203, 3, ByteOrder::big_endian); },
       {Chip(0xA0), Width(1), Write({0x20, 0, 2, 1}), Cycle(), Width(0), Write({0x22, 0, 3}),
        Cycle()}},
      {"little-endian value of 3",
       [] { return EEprom_WriteValue(fd, 0x20, 0xFF010203, 3, ByteOrder::little_endian); },
       {Chip(0xA0), Width(1), Write({0x20, 0, 2, 3}), Cycle(), Width(0), Write({0x22, 0, 1}),
        Cycle()}},
      {"value of 1",
       [] { return EEprom_WriteValue(fd, 0x20, 0x0102, 1, ByteOrder::big_endian); },
       {Chip(0xA0), Width(0), Write({0x20, 0, 2}), Cycle()}},
      {"value of 0",
       [] { return EEprom_WriteValue(fd, 0x20, 1, 0, ByteOrder::little_endian); },
       {Chip(0xA0)}},
      {"third block of the first chip",
       [] { return EEprom_WriteByte(fd, 0x20001, 9); },
       {Chip(0xA4), Width(0), Write({1, 0, 9}), Cycle()}},
      {"second chip",
       [] { return EEprom_WriteByte(fd, 0x70001, 9); },
       {Chip(0xAE), Width(0), Write({1, 0, 9}), Cycle()}},
      {"a split does not choose the chip again",
       [] { return EEprom_WriteWord(fd, 0xFFFF, 0x0201, ByteOrder::little_endian); },
       {Chip(0xA0), Width(0), Write({0xFF, 0xFF, 1}), Cycle(), Write({0, 0, 2}), Cycle()}},
  };
  for (const WriteCase& each : cases) {
    SCOPED_TRACE(each.what);
    FitFakeChip();
    EXPECT_EQ(0, each.call());
    EXPECT_EQ(each.events, chip.events);
  }
}

TEST(I2cEeprom, StopsAtTheFirstRefusedTransfer) {
  FitFakeChip();
  chip.refuse_write = 1;
  EXPECT_EQ("I2C_WRITE error!\n", OutputOf([] {
              EXPECT_EQ(-1, EEprom_WriteWord(fd, 0x00FF, 0x1122, ByteOrder::big_endian));
            }));
  EXPECT_EQ((BusEvents{Chip(0xA0), Width(0), Write({0xFF, 0, 0x11}), Cycle(), Write({0, 1, 0x22})}),
            chip.events);
  FitFakeChip();
  chip.refuse_write = 0;
  EXPECT_EQ("I2C_WRITE error!\n",
            OutputOf([] { EXPECT_EQ(-1, EEprom_WriteDword(fd, 0x10, 1, ByteOrder::big_endian)); }));
  EXPECT_EQ(1, chip.writes);
}

TEST(I2cEeprom, ReadsByteByByte) {
  FitFakeChip();
  const std::array<std::uint8_t, 6> stored = {0x53, 0x50, 0x52, 0x4B, 0x77, 0x88};
  std::copy(stored.begin(), stored.end(), chip.bytes.begin() + 0x1FE);
  EXPECT_EQ(0, EEprom_SelectByteWidth(fd));
  const auto read = [](int count, std::uint32_t start = 0) {
    std::uint32_t value = start;
    EEprom_Read(fd, 0x1FE, value, count);
    return value;
  };
  EXPECT_EQ(0x53U, read(1));
  EXPECT_EQ(0x5350U, read(2));
  EXPECT_EQ(0x525053U, read(3));
  EXPECT_EQ(0x5350524BU, read(4));
  EXPECT_EQ(0x4B525053U, read(6)) << "gathered, not converted";
  EXPECT_EQ(0x80000053U, read(1, 0x80000000)) << "ORed into what was there";
  chip.events.clear();
  (void)read(2);
  EXPECT_EQ((BusEvents{Chip(0xA1), Read({0xFE, 1}), Read({0xFF, 1})}), chip.events);
}

TEST(Section, WritesTheIdentificationByteForByte) {
  FitFakeChip();
  SectionRecord record;
  record.type = SectionType::identification;
  ASSERT_TRUE(Section_Prepare(record));
  Field_SetText(Section_Field(record, 0, 32), "ABC");
  Field_SetNumber(Section_Field(record, 32, 4), 0x01020304);
  EXPECT_EQ("id=ABC,time=16909060\n",
            OutputOf([&] { EXPECT_EQ(0, EEprom_WriteSection(fd, record)); }));
  EXPECT_EQ(45U, record.address);
  const std::string expected =
      std::string("SPRK\1\0\0\0\x2D", 9) + "ABC" + std::string(29, '\0') + "\1\2\3\4";
  EXPECT_EQ(expected, chip.Text(0, 45));
  // Header: a dword of two transfers, a byte, a dword that starts at an odd address; 8 text pieces
  // of two transfers; a dword.
  EXPECT_EQ(2 + 1 + 2 + 16 + 2, chip.writes);
  EXPECT_EQ((BusEvents{Chip(0xA0), Width(1), Write({0, 0, 'P', 'S'}), Cycle(), Width(1),
                       Write({2, 0, 'K', 'R'}), Cycle(), Chip(0xA0), Width(0), Write({4, 0, 1})}),
            BusEvents(chip.events.begin(), chip.events.begin() + 10));
}

TEST(Section, RoundTripsEveryTypeThroughTheChip) {
  const std::map<std::uint32_t, std::uint32_t> sizes = {{1, 203}, {2, 334},  {3, 815}, {4, 1451},
                                                        {5, 663}, {6, 660},  {7, 658}, {8, 1350},
                                                        {9, 723}, {10, 1122}};
  for (const auto& [type, size] : sizes) {
    SCOPED_TRACE(type);
    FitFakeChip();
    chip.records = false;
    SectionRecord written;
    written.type = SectionType{type};
    written.address = 0x1F3;
    ASSERT_TRUE(Section_Prepare(written));
    for (std::size_t i = 0; i < written.data.size(); ++i) {
      written.data[i] = static_cast<std::uint8_t>(i * 7 + type);
    }
    EXPECT_EQ(0, EEprom_WriteSection(fd, written));
    EXPECT_EQ(0x1F3 + size, written.address);
    EXPECT_EQ(0xFF, chip.bytes[written.address]) << "nothing behind the section";
    SectionRecord read;
    read.address = 0x1F3;
    EXPECT_EQ(0, EEprom_ReadSection(fd, read));
    EXPECT_EQ(SectionType{type}, read.type);
    EXPECT_EQ(0x1F3 + size, read.next_address);
    EXPECT_EQ(written.data, read.data);
  }
}

TEST(Section, StoresNumbersBigEndian) {
  FitFakeChip();
  SectionRecord record;
  record.type = SectionType::stpf;
  ASSERT_TRUE(Section_Prepare(record));
  Field_SetNumber(Section_Field(record, 33, 2), 1920);
  Field_SetNumber(Section_Field(record, 43, 4), 4000000);
  EXPECT_EQ(0, EEprom_WriteSection(fd, record));
  EXPECT_EQ("\x07\x80", chip.Text(9 + 33, 2));
  EXPECT_EQ(std::string("\x00\x3D\x09\x00", 4), chip.Text(9 + 43, 4));
}

TEST(Section, ReportsWhatItDoesNotKnow) {
  FitFakeChip();
  SectionRecord record;
  record.type = SectionType{11};
  record.address = 100;
  EXPECT_EQ("EEprom_WriteSection: Unknown section type 11.\n",
            OutputOf([&] { EXPECT_EQ(0, EEprom_WriteSection(fd, record)); }));
  EXPECT_EQ(100U, record.address);
  EXPECT_EQ(std::string("\0\0\0\x0B\0\0\0\0\0\xFF", 10), chip.Text(100, 10))
      << "the header is there";

  SectionRecord erased;
  erased.address = 0x4000;
  EXPECT_EQ("EEprom_ReadSection: Unknown section type -1.\n",
            OutputOf([&] { EXPECT_EQ(-1, EEprom_ReadSection(fd, erased)); }));

  for (const SectionType type : {SectionType::ssnt, SectionType::identification}) {
    SectionRecord section;
    section.type = type;
    ASSERT_TRUE(Section_Prepare(section));
    section.version = 0x102;
    (void)OutputOf([&] { (void)EEprom_WriteSection(fd, section); });
    SectionRecord read;
    const bool silent = type == SectionType::identification;
    EXPECT_EQ(silent ? "" : "Unsupported data version 2, section type 3\n",
              OutputOf([&] { EXPECT_EQ(-1, EEprom_ReadSection(fd, read)); }));
    EXPECT_TRUE(read.data.empty());
  }
}

}  // namespace
