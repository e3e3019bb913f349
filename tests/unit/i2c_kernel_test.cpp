// SPDX-License-Identifier: MIT
// The adapter for the kernel's I2C devices: it must leave the bytes in the chip that the transfer
// buffers of the camera's own driver leave. The linker redirects ioctl to a bus whose chip wraps
// inside pages of 32 bytes and answers nothing during its write cycle.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/i2c.h>

#include <cerrno>
#include <cstdarg>

#include "eeprom/i2c_eeprom.h"
#include "platform/i2c_bus.h"
#include "tests/fakes/emulated_camera.h"

namespace {

constexpr std::uint32_t page_size = 32;
constexpr ByteOrder big = ByteOrder::big_endian;

struct Bus {
  bool is_vendor_driver = false;
  int interruptions = 0;  // so many calls end with EINTR before anything is sent
  int calls = 0;
};
Bus bus;

int Fail(int error) {
  errno = error;
  return -1;
}

// One message writes the register address, high byte first, and data; a second one reads a byte.
int Send(const i2c_rdwr_ioctl_data& call) {
  const i2c_msg& first = call.msgs[0];
  const std::uint32_t address = (first.addr & 7U) << 16U | first.buf[0] * 256U | first.buf[1];
  Transfer transfer = {address, {}, first.len - 2U};
  std::copy(first.buf + 2, first.buf + first.len, transfer.bytes.begin());
  const bool in_page = address % page_size + transfer.size <= page_size;  // else it would wrap
  const bool answered = call.nmsgs == 1 ? in_page && ChipWrites(transfer)
                                        : call.msgs[1].flags == I2C_M_RD && call.msgs[1].len == 1 &&
                                              ChipReads(address, call.msgs[1].buf[0]);
  return answered && (first.addr & 0x78U) == 0x50 ? static_cast<int>(call.nmsgs) : Fail(ENXIO);
}

}  // namespace

// Tests that run at the same time share the device.
extern "C" int __wrap_flock(int fd, int operation);
extern "C" int __wrap_flock(int, int) { return 0; }

extern "C" int __wrap_ioctl(int fd, unsigned long request, ...);
extern "C" int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  const auto* call = va_arg(arguments, const i2c_rdwr_ioctl_data*);
  va_end(arguments);
  if (fcntl(fd, F_GETFD) < 0) return Fail(EBADF);
  if (request == I2C_REQUEST_REGISTER_WIDTH && bus.is_vendor_driver) return 0;
  if (request != I2C_RDWR) return Fail(ENOTTY);
  if (bus.interruptions-- > 0) return Fail(EINTR);
  ++bus.calls;
  return Send(*call);
}

namespace {

// Every character device will do: what it does is up to the emulated bus.
int OpenBus(const Bus& fresh) {
  FitCamera();
  bus = fresh;
  return I2c_Open("/dev/null");
}

std::uint32_t ReadByte(int fd, std::uint32_t address) {
  std::uint32_t value = 0;
  EEprom_Read(fd, address, value, 1);
  return value;
}

TEST(I2cKernel, IsChosenForADeviceThatIsNotTheVendors) {
  (void)OpenBus({.is_vendor_driver = true});
  EXPECT_EQ(&i2c_vendor_adapter, I2c_UseAdapter(nullptr));
  const int fd = OpenBus({});
  (void)EEprom_Close(fd);
  EXPECT_EQ(&i2c_kernel_adapter, I2c_UseAdapter(nullptr));
  EXPECT_EQ(-1, fcntl(fd, F_GETFD)) << "closed";
  (void)EEprom_Close(0);
  EXPECT_NE(-1, fcntl(0, F_GETFD)) << "counts as not open";
}

TEST(I2cKernel, LeavesTheBytesThatTheVendorsBuffersLeave) {
  static constexpr std::array<std::uint8_t, 3> raw = {0x11, 0x22, 0x33};
  const std::vector<std::function<int(int fd, std::uint32_t address)>> calls = {
      [](int on, auto at) { return EEprom_WriteByte(on, at, 0x5A); },
      [](int on, auto at) { return EEprom_WriteWord(on, at, 0x1234, big); },
      [](int on, auto at) { return EEprom_WriteRaw(on, at, raw); }};
  FitCamera();
  const I2cAdapter* vendor_buffers = I2c_UseAdapter(nullptr);
  const int fd = OpenBus({});
  const I2cAdapter* kernel = I2c_UseAdapter(nullptr);
  for (const std::uint32_t start : {0x00U, 0x1FFE0U, 0x70000U}) {
    for (std::uint32_t number = 0; number < 3 * (page_size + 2); ++number) {
      const auto& call = calls[number % 3];
      const std::uint32_t address = start + number / 3;
      auto chip = camera.chip;
      (void)I2c_UseAdapter(kernel);
      EXPECT_EQ(0, call(fd, address));
      EXPECT_EQ(camera.chip[address], ReadByte(fd, address));
      camera.chip.swap(chip);
      (void)I2c_UseAdapter(vendor_buffers);
      EXPECT_EQ(0, call(fd, address));
      ASSERT_TRUE(chip == camera.chip) << "at " << address;
    }
  }
}

TEST(I2cKernel, WaitsOutEveryWriteCycle) {
  const int fd = OpenBus({});
  EXPECT_EQ(0, EEprom_WriteWord(fd, 0x51E, 0xABCD, big));
  EXPECT_EQ(0, EEprom_WriteWord(fd, 0x51F, 0xABCD, big)) << "across a page of the chip";
  EXPECT_EQ(30000U, camera.slept_us);
  EXPECT_EQ(0xCDU, ReadByte(fd, 0x520));
  EXPECT_EQ(4, bus.calls) << "address and data of a read in one call";
  EXPECT_EQ(-1, I2c_Write(fd, std::array<std::uint8_t, 5>{})) << "not in this width";
}

TEST(I2cKernel, RepeatsWhatASignalInterrupted) {
  const int fd = OpenBus({.interruptions = 2});
  EXPECT_EQ(0, EEprom_WriteByte(fd, 0x40, 0x77));
  bus.interruptions = 2;
  EXPECT_EQ(0x77U, ReadByte(fd, 0x40));
}

TEST(I2cKernel, ReportsWhatNothingAnswers) {
  for (const int refused : {0, 1}) {
    const int fd = OpenBus({});
    camera.refuse_write = refused;
    EXPECT_EQ("I2C_WRITE error!\n",
              OutputOf([fd] { EXPECT_EQ(-1, EEprom_WriteWord(fd, 0x1F, 0x1122, big)); }));
    EXPECT_EQ(refused + 1, bus.calls) << "nothing is sent behind it";
    camera.absent = true;
    EXPECT_EQ(0x34U, ReadByte(fd, 0x1234)) << "the address stays";
  }
}

}  // namespace
