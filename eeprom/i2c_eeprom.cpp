// SPDX-License-Identifier: MIT
#include "eeprom/i2c_eeprom.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "daemon/log.h"
#include "platform/i2c_bus.h"

std::int32_t eeprom_handle = -1;

namespace {

constexpr const char* device_path = "/dev/i2c-1";
constexpr std::uint32_t second_chip_from = 0x40000;
constexpr std::uint8_t read_bit = 1;

std::uint8_t LowByte(std::uint32_t value) { return static_cast<std::uint8_t>(value & 0xFFU); }
std::uint8_t HighByte(std::uint32_t value) { return LowByte(value >> 8U); }

// Address bits 16 and 17 travel in the device address. A bus that refuses the request is found out
// by the transfer behind it.
void SelectChip(int fd, std::uint32_t address, std::uint8_t direction_bit) {
  const std::uint32_t family = address < second_chip_from ? 0xA0U : 0xA8U;
  (void)I2c_Request(fd, I2C_SLAVE_FORCE, family | ((address >> 15U) & 6U) | direction_bit);
}

// Likewise.
void SelectDataWidth(int fd, unsigned long width) {
  (void)I2c_Request(fd, I2C_REQUEST_DATA_WIDTH, width);
}

int Transfer(int fd, std::span<const std::uint8_t> buffer) {
  if (I2c_Write(fd, buffer) < 0) {
    Nv_Print("I2C_WRITE error!\n");
    return -1;
  }
  I2c_Wait(I2C_WRITE_CYCLE_US);
  return 0;
}

int TransferByte(int fd, std::uint32_t address, std::uint8_t value) {
  SelectDataWidth(fd, 0);
  return Transfer(fd, std::array{LowByte(address), HighByte(address), value});
}

// `low` goes to the address, `high` to the next one. A pair that would cross a 256-byte page goes
// out as two transfers, the second one at the start of the next page.
int TransferPair(int fd, std::uint32_t address, std::uint8_t low, std::uint8_t high) {
  if (LowByte(address) != 0xFF) {
    SelectDataWidth(fd, 1);
    return Transfer(fd, std::array{LowByte(address), HighByte(address), high, low});
  }
  if (TransferByte(fd, address, low) != 0) return -1;
  return Transfer(fd, std::array{std::uint8_t{0}, HighByte(address + 1), high});
}

// A read that fails leaves the buffer, and thus the low address byte, as it is.
std::uint8_t ReadByte(int fd, std::uint32_t address) {
  std::array buffer{LowByte(address), HighByte(address)};
  (void)I2c_Read(fd, buffer);
  return buffer[0];
}

std::array<std::uint8_t, 4> LowByteFirst(std::uint32_t value) {
  return {LowByte(value), HighByte(value), LowByte(value >> 16U), HighByte(value >> 16U)};
}

// The number that the bytes make, high byte first.
std::uint32_t BigEndian(std::span<const std::uint8_t> bytes) {
  std::uint32_t value = 0;
  for (const std::uint8_t byte : bytes) value = (value << 8U) | byte;
  return value;
}

}  // namespace

int EEprom_Open() {
  const int fd = I2c_Open(device_path);  // asks for 16-bit register addresses
  (void)EEprom_SelectByteWidth(fd);
  return fd;
}

int EEprom_Close(int fd) {
  if (fd > 0) I2c_Close(fd);  // 0 counts as not open
  return 0;
}

int EEprom_WriteByte(int fd, std::uint32_t address, std::uint8_t value) {
  return EEprom_WriteRaw(fd, address, {&value, 1});
}

int EEprom_WriteWord(int fd, std::uint32_t address, std::uint32_t value, ByteOrder order) {
  return EEprom_WriteValue(fd, address, value, 2, order);
}

int EEprom_WriteDword(int fd, std::uint32_t address, std::uint32_t value, ByteOrder order) {
  return EEprom_WriteValue(fd, address, value, 4, order);
}

int EEprom_WriteRaw(int fd, std::uint32_t address, std::span<const std::uint8_t> bytes) {
  SelectChip(fd, address, 0);
  while (!bytes.empty()) {
    const std::size_t step = bytes.size() > 1 ? 2 : 1;
    const int result = step == 2 ? TransferPair(fd, address, bytes[0], bytes[1])
                                 : TransferByte(fd, address, bytes[0]);
    if (result != 0) return -1;
    address += static_cast<std::uint32_t>(step);
    bytes = bytes.subspan(step);
  }
  return 0;
}

int EEprom_WriteValue(int fd, std::uint32_t address, std::uint32_t value, int count,
                      ByteOrder order) {
  std::array bytes = LowByteFirst(value);
  const auto stored = std::span(bytes).first(static_cast<std::size_t>(std::clamp(count, 0, 4)));
  if (order == ByteOrder::big_endian) std::reverse(stored.begin(), stored.end());
  return EEprom_WriteRaw(fd, address, stored);
}

int EEprom_SelectByteWidth(int fd) { return I2c_Request(fd, I2C_REQUEST_DATA_WIDTH, 0); }

void EEprom_Read(int fd, std::uint32_t address, std::uint32_t& result, int count) {
  SelectChip(fd, address, read_bit);
  for (int i = 0; i < count; ++i) {
    const std::uint32_t byte = ReadByte(fd, address + static_cast<std::uint32_t>(i));
    if (i < 4) result |= byte << (8 * i);
  }
  const std::array gathered = LowByteFirst(result);
  if (count == 2) result = BigEndian(std::span(gathered).first(2));
  if (count == 4) result = BigEndian(gathered);
}

void EEprom_ReadBytes(int fd, std::uint32_t address, std::span<std::uint8_t> bytes) {
  constexpr std::uint32_t block_mask = 0xFFFF;  // each block of 64 KiB has its device address
  SelectChip(fd, address, read_bit);
  for (std::uint8_t& byte : bytes) {
    byte = ReadByte(fd, address++);
    if ((address & block_mask) == 0) SelectChip(fd, address, read_bit);
  }
}
