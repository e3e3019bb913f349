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

constexpr std::size_t page_size = 32;
constexpr unsigned write_cycle_us = 10000;
constexpr ByteOrder big = ByteOrder::big_endian;

struct Bus {
  bool is_vendor_driver = false;
  unsigned busy_until = 0;  // by the time slept
  int interruptions = 0;    // so many calls end with EINTR before anything is sent
  int refuse_call = -1;     // the number of the call, from 0, that nothing answers
  int calls = 0;
  std::string messages = {};  // "50[12 2F AB] 50[12 30] 50(AB) "
};
Bus bus;

std::size_t Register(const i2c_msg& message) {
  return (message.addr & 7UL) << 16U | message.buf[0] * 256UL | message.buf[1];
}

void KeepInPage(const i2c_msg& message) {
  const std::size_t start = Register(message);
  const std::size_t page = start - start % page_size;
  for (std::size_t i = 0; i + 2 < message.len; ++i) {
    camera.chip.at(page + (start + i) % page_size) = message.buf[2 + i];
  }
  if (message.len > 2) bus.busy_until = camera.slept_us + write_cycle_us;
}

int Send(const i2c_rdwr_ioctl_data& transfer) {
  std::size_t position = 0;
  for (const i2c_msg& message : std::span(transfer.msgs, transfer.nmsgs)) {
    bus.messages += HexText(std::array{static_cast<std::uint8_t>(message.addr)});
    if (message.flags == I2C_M_RD) {
      for (std::size_t i = 0; i < message.len; ++i) message.buf[i] = camera.chip.at(position++);
      bus.messages += "(" + HexText({message.buf, message.len}) + ") ";
    } else {
      position = Register(message);
      KeepInPage(message);
      bus.messages += "[" + HexText({message.buf, message.len}) + "] ";
    }
  }
  return static_cast<int>(transfer.nmsgs);
}

int Fail(int error) {
  errno = error;
  return -1;
}

}  // namespace

extern "C" int __wrap_ioctl(int fd, unsigned long request, ...);
extern "C" int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  const auto* transfer = va_arg(arguments, const i2c_rdwr_ioctl_data*);
  va_end(arguments);
  if (fcntl(fd, F_GETFD) < 0) return Fail(EBADF);
  if (request == I2C_REQUEST_REGISTER_WIDTH && bus.is_vendor_driver) return 0;
  if (request != I2C_RDWR) return Fail(ENOTTY);
  if (bus.interruptions-- > 0) return Fail(EINTR);
  const bool refused = bus.calls++ == bus.refuse_call;
  return refused || camera.slept_us < bus.busy_until ? Fail(ENXIO) : Send(*transfer);
}

namespace {

// Every character device will do: what it does is up to the emulated bus.
int OpenBus(const Bus& fresh) {
  FitCamera();
  bus = fresh;
  return I2c_Open("/dev/null");
}

// Closes the descriptor and gives the adapter that it was opened with.
const I2cAdapter* AdapterOf(int fd) {
  (void)EEprom_Close(fd);
  return I2c_UseAdapter(&i2c_kernel_adapter);
}

std::uint32_t ReadByte(int fd, std::uint32_t address) {
  std::uint32_t value = 0;
  EEprom_Read(fd, address, value, 1);
  return value;
}

TEST(I2cKernel, IsChosenForADeviceThatIsNotTheVendors) {
  EXPECT_EQ(&i2c_vendor_adapter, AdapterOf(OpenBus({.is_vendor_driver = true})));
  const int fd = OpenBus({});
  EXPECT_EQ(&i2c_kernel_adapter, AdapterOf(fd));
  EXPECT_EQ(-1, fcntl(fd, F_GETFD)) << "closed";
}

TEST(I2cKernel, LeavesTheBytesThatTheVendorsBuffersLeave) {
  static constexpr std::array<std::uint8_t, 3> raw = {0x11, 0x22, 0x33};
  const std::vector<std::function<int(int fd, std::uint32_t address)>> calls = {
      [](int on, auto at) { return EEprom_WriteByte(on, at, 0x5A); },
      [](int on, auto at) { return EEprom_WriteWord(on, at, 0x1234, big); },
      [](int on, auto at) {
        return EEprom_WriteDword(on, at, 0x12345678, ByteOrder::little_endian);
      },
      [](int on, auto at) { return EEprom_WriteRaw(on, at, raw); }};
  FitCamera();
  const I2cAdapter* vendor_buffers = I2c_UseAdapter(nullptr);
  const int fd = OpenBus({});
  for (const std::uint32_t start : {0x00U, 0x1FFE0U, 0x70000U}) {
    for (std::uint32_t address = start; address < start + page_size + 2; ++address) {
      for (const auto& call : calls) {
        const auto before = camera.chip;
        EXPECT_EQ(0, call(fd, address));
        const auto after = std::exchange(camera.chip, before);
        const I2cAdapter* kernel = I2c_UseAdapter(vendor_buffers);
        EXPECT_EQ(0, call(fd, address));
        (void)I2c_UseAdapter(kernel);
        ASSERT_TRUE(after == camera.chip) << "at " << address;
        EXPECT_EQ(camera.chip[address], ReadByte(fd, address));
      }
    }
  }
  (void)AdapterOf(fd);
}

TEST(I2cKernel, SendsTheRegisterAddressHighByteFirst) {
  const int fd = OpenBus({});
  EXPECT_EQ(0, EEprom_WriteWord(fd, 0x122F, 0xABCD, big));
  EXPECT_EQ(0, EEprom_WriteWord(fd, 0x51F, 0xABCD, big)) << "across a page of the chip";
  EXPECT_EQ(30000U, camera.slept_us) << "a write cycle for each transfer";
  EXPECT_EQ(0xCDU, ReadByte(fd, 0x1230));
  EXPECT_EQ("50[12 2F AB CD] 50[05 1F AB] 50[05 20 CD] 50[12 30] 50(CD) ", bus.messages);
  EXPECT_EQ(4, bus.calls) << "address and data of a read in one call";
  EXPECT_EQ(-1, I2c_Write(fd, std::array<std::uint8_t, 5>{})) << "not in this width";
  (void)AdapterOf(fd);
}

TEST(I2cKernel, RepeatsWhatASignalInterrupted) {
  const int fd = OpenBus({.interruptions = 2});
  EXPECT_EQ(0, EEprom_WriteByte(fd, 0x40, 0x77));
  bus.interruptions = 2;
  EXPECT_EQ(0x77U, ReadByte(fd, 0x40));
  (void)AdapterOf(fd);
}

TEST(I2cKernel, ReportsWhatNothingAnswers) {
  for (const int refused : {0, 1}) {
    const int fd = OpenBus({.refuse_call = refused});
    EXPECT_EQ("I2C_WRITE error!\n",
              OutputOf([fd] { EXPECT_EQ(-1, EEprom_WriteWord(fd, 0x1F, 0x1122, big)); }));
    EXPECT_EQ(refused + 1, bus.calls) << "nothing is sent behind it";
    bus.refuse_call = bus.calls;
    EXPECT_EQ(0x34U, ReadByte(fd, 0x1234)) << "the address stays";
    (void)AdapterOf(fd);
  }
}

}  // namespace
