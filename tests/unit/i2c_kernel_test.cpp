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
  std::string messages = {};  // "50 write 12 30; 50 read AB; "
};
Bus bus;

int Fail(int error) {
  errno = error;
  return -1;
}

// A message's register address and up to two bytes.
Transfer ToTransfer(const i2c_msg& message) {
  const std::uint32_t address = (message.addr & 7U) << 16U | message.buf[0] * 256U | message.buf[1];
  Transfer transfer = {address, {}, message.len - 2U};
  std::copy(message.buf + 2, message.buf + message.len, transfer.bytes.begin());
  return transfer;
}

// A write that leaves its page would wrap in the chip.
bool Writes(const Transfer& transfer) {
  const std::uint32_t last = transfer.address + transfer.size - 1;
  return transfer.address / page_size == last / page_size && ChipWrites(transfer);
}

int Send(const i2c_rdwr_ioctl_data& call) {
  Transfer transfer = {};
  for (const i2c_msg& message : std::span(call.msgs, call.nmsgs)) {
    const bool is_read = message.flags == I2C_M_RD;
    if (!is_read) transfer = ToTransfer(message);
    if (is_read && !ChipReads(transfer.address, message.buf[0])) return Fail(ENXIO);
    if (transfer.size > 0 && !Writes(transfer)) return Fail(ENXIO);
    bus.messages += HexText(std::array{static_cast<std::uint8_t>(message.addr)}) +
                    (is_read ? " read " : " write ") + HexText({message.buf, message.len}) + "; ";
  }
  return static_cast<int>(call.nmsgs);
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

TEST(I2cKernel, SendsTheRegisterAddressHighByteFirst) {
  const int fd = OpenBus({});
  EXPECT_EQ(0, EEprom_WriteWord(fd, 0x122F, 0xABCD, big));
  EXPECT_EQ(0, EEprom_WriteWord(fd, 0x51F, 0xABCD, big)) << "across a page of the chip";
  EXPECT_EQ(30000U, camera.slept_us) << "a write cycle for each transfer";
  EXPECT_EQ(0xCDU, ReadByte(fd, 0x1230));
  EXPECT_EQ(
      "50 write 12 2F AB CD; 50 write 05 1F AB; 50 write 05 20 CD; 50 write 12 30; 50 read CD; ",
      bus.messages);
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
