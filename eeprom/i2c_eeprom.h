// SPDX-License-Identifier: MIT
// Bytes in the I2C EEPROM: a flat byte address, transfers of one or two bytes. Single-threaded: the
// chip and the data width are state of the bus that the last caller left behind.
//
// The writers return 0, or -1 after a refused transfer (reported as "I2C_WRITE error!"; what comes
// behind it in the same call is not written). Each accepted transfer is followed by the chip's
// write cycle of 10 ms. A read can't fail: what the bus does not answer reads as the low address
// byte.
#pragma once

#include <cstdint>
#include <span>

// How a number of several bytes lies in the EEPROM.
enum class ByteOrder : std::uint8_t { little_endian, big_endian };

// The descriptor of "/dev/i2c-1"; negative until EEprom_Open succeeded.
extern std::int32_t eeprom_handle;

// Opens the device with 16-bit register addresses and 8-bit data. Returns the descriptor, or -1.
int EEprom_Open();

// Closes a descriptor above 0 and leaves every other alone. Returns 0.
int EEprom_Close(int fd);

int EEprom_WriteByte(int fd, std::uint32_t address, std::uint8_t value);
int EEprom_WriteWord(int fd, std::uint32_t address, std::uint32_t value, ByteOrder order);
int EEprom_WriteDword(int fd, std::uint32_t address, std::uint32_t value, ByteOrder order);

// Writes up to 4 bytes as they lie.
int EEprom_WriteRaw(int fd, std::uint32_t address, std::span<const std::uint8_t> bytes);

// Writes the low `count` (1 to 4) bytes of a number; nothing for a count below 1.
int EEprom_WriteValue(int fd, std::uint32_t address, std::uint32_t value, int count,
                      ByteOrder order);

// Selects 8-bit data, which reading relies on. Returns 0, or a negative value when the bus refuses.
int EEprom_SelectByteWidth(int fd);

// ORs `count` bytes into `result`, the i-th at bit 8 * i. A count of 2 then takes the 16-bit and a
// count of 4 the 32-bit number that the bytes make big-endian; a count of 3 stays as gathered.
void EEprom_Read(int fd, std::uint32_t address, std::uint32_t& result, int count);

// Fills `bytes` from ascending addresses, one byte a transfer.
void EEprom_ReadBytes(int fd, std::uint32_t address, std::span<std::uint8_t> bytes);
