// SPDX-License-Identifier: MIT
// The I2C bus as the EEPROM primitives speak to it: the requests and buffers of the camera's own
// adapter driver. Other adapters understand the same language through a back end of their own,
// which is chosen once, when the device is opened.
//
// Write buffer: register address bits 0-7, bits 8-15, then one data byte (data width 0) or two
// (data width 1: first the byte for the next address, then the byte for the register address
// itself). Read buffer: register address bits 0-7, bits 8-15; the read replaces the first byte by
// the data.
#pragma once

#include <linux/i2c-dev.h>
#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// I2C_SLAVE_FORCE of linux/i2c-dev.h selects the chip by its 8-bit device address.
static_assert(I2C_SLAVE_FORCE == 0x0706);
// Register addresses are 16 bits wide (argument 1).
inline constexpr unsigned long I2C_REQUEST_REGISTER_WIDTH = 0x0709;
// One (argument 0) or two (argument 1) data bytes in each transfer.
inline constexpr unsigned long I2C_REQUEST_DATA_WIDTH = 0x070A;

// How long the chip needs after a write before it answers again, in microseconds.
inline constexpr unsigned I2C_WRITE_CYCLE_US = 10000;

struct I2cAdapter {
  const char* name;
  // Whether the open device speaks through this back end; prepares it for 16-bit register
  // addresses.
  bool (*claims)(int fd);
  // 0, or a negative value with errno set.
  int (*request)(int fd, unsigned long request, unsigned long argument);
  // The number of bytes written or read, or a negative value with errno set.
  ssize_t (*write)(int fd, std::span<const std::uint8_t> buffer);
  ssize_t (*read)(int fd, std::span<std::uint8_t> buffer);
  // Waits out the chip's write cycle after a write.
  void (*wait)(unsigned microseconds);
};

// One file each: i2c_vendor.cpp, i2c_image.cpp, i2c_kernel.cpp.
extern const I2cAdapter i2c_vendor_adapter;
extern const I2cAdapter i2c_image_adapter;
extern const I2cAdapter i2c_kernel_adapter;

// What the adapters share that have no driver which would remember what a request selects.
struct I2cSelection {
  unsigned long device_address = 0;  // 8-bit form
  std::size_t data_bytes = 1;
};
extern I2cSelection i2c_selection;

// Whether an open device is a file of a type (S_IFREG, ...); then nothing is selected yet.
bool I2c_Claims(int fd, mode_t type);

// Carries out a request on the selection. Returns 0; or -1, errno ENOTTY, for an unknown one.
int I2c_Select(int fd, unsigned long request, unsigned long argument);

// The register address that a write or read buffer carries.
unsigned I2c_RegisterAddress(std::span<const std::uint8_t> buffer);

// The flat address that it means on the selected chip: bits 1 and 2 of the device address are bits
// 16 and 17, and the 0xA8 family lies above.
std::size_t I2c_FlatAddress(std::span<const std::uint8_t> buffer);

// The data bytes of a write buffer, put into `data` for ascending addresses; none, errno EINVAL,
// when there are not as many as selected.
std::span<const std::uint8_t> I2c_Data(std::span<const std::uint8_t> buffer,
                                       std::array<std::uint8_t, 2>& data);

// Opens a device read-write, locks it against other writers (flock(2), not waiting) and chooses the
// adapter that speaks to it. Returns the descriptor, which carries the lock until it is closed; or
// -1.
int I2c_Open(const char* path);

// The same for a program that only reads, beside whoever writes: it takes no lock.
int I2c_OpenToRead(const char* path);

// The adapter that the device was last opened with, for a person to read.
const char* I2c_AdapterName();

void I2c_Close(int fd);

// The chosen adapter's operations.
int I2c_Request(int fd, unsigned long request, unsigned long argument);
ssize_t I2c_Write(int fd, std::span<const std::uint8_t> buffer);
ssize_t I2c_Read(int fd, std::span<std::uint8_t> buffer);
void I2c_Wait(unsigned microseconds);

// Puts an adapter in place without a device behind it (an emulated chip, a fault wrapper). The
// adapter must outlive its use. Returns the one that it replaces.
const I2cAdapter* I2c_UseAdapter(const I2cAdapter* adapter);
