// SPDX-License-Identifier: MIT
// The adapter for the kernel's I2C devices, held against the transfer buffers of the camera's own
// driver: both must leave the same bytes in the chip. The bus behind ioctl is emulated here (the
// linker redirects ioctl to it), with a chip that wraps inside its pages and that answers nothing
// during its write cycle.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/i2c.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <functional>

#include "eeprom/i2c_eeprom.h"
#include "platform/host.h"
#include "platform/i2c_bus.h"
#include "tests/fakes/fake_chip.h"

namespace {

constexpr std::size_t page_size = 32;
constexpr unsigned write_cycle_us = 10000;

struct SentMessage {
  unsigned address;
  bool read;
  std::vector<std::uint8_t> bytes;  // of a read: the data that it gave
  bool operator==(const SentMessage&) const = default;
};
using SentMessages = std::vector<SentMessage>;

struct Bus {
  std::array<std::uint8_t, sizeof(FakeChip::bytes)> bytes;
  bool is_vendor_driver = false;
  unsigned busy_us = 0;   // left of the chip's write cycle
  int interruptions = 0;  // so many calls end with EINTR before anything is sent
  int refuse_call = -1;   // the number of the call, from 0, that nothing answers
  int calls = 0;
  unsigned slept_us = 0;
  SentMessages messages;
};
Bus bus;

std::size_t Register(const i2c_msg& message) {
  return (message.addr & 7UL) << 16U | message.buf[0] * 256UL | message.buf[1];
}

void StoreInPage(const i2c_msg& message) {
  const std::size_t start = Register(message);
  const std::size_t page = start - start % page_size;
  for (std::size_t i = 0; i + 2 < message.len; ++i) {
    bus.bytes.at(page + (start + i) % page_size) = message.buf[2 + i];
  }
  if (message.len > 2) bus.busy_us = write_cycle_us;
}

int Send(const i2c_rdwr_ioctl_data& transfer) {
  std::size_t position = 0;
  for (const i2c_msg& message : std::span(transfer.msgs, transfer.nmsgs)) {
    const bool is_read = message.flags == I2C_M_RD;
    if (is_read) {
      for (std::size_t i = 0; i < message.len; ++i) message.buf[i] = bus.bytes.at(position++);
    } else {
      position = Register(message);
      StoreInPage(message);
    }
    bus.messages.push_back({message.addr, is_read, {message.buf, message.buf + message.len}});
  }
  return static_cast<int>(transfer.nmsgs);
}

int Fail(int error) {
  errno = error;
  return -1;
}

}  // namespace

void Host_SleepMicroseconds(unsigned microseconds) {
  bus.slept_us += microseconds;
  bus.busy_us -= std::min(bus.busy_us, microseconds);
}

// Tests that run at the same time share the device.
extern "C" int __wrap_flock(int fd, int operation);
extern "C" int __wrap_flock(int, int) { return 0; }

extern "C" int __wrap_ioctl(int fd, unsigned long request, ...);
extern "C" int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  const auto* transfer = va_arg(arguments, const i2c_rdwr_ioctl_data*);
  va_end(arguments);
  if (fcntl(fd, F_GETFD) < 0) return Fail(EBADF);
  if (request == I2C_REQUEST_REGISTER_WIDTH && bus.is_vendor_driver) return 0;
  if (request != I2C_RDWR) return Fail(ENOTTY);
  if (bus.interruptions > 0) {
    --bus.interruptions;
    return Fail(EINTR);
  }
  return bus.busy_us > 0 || bus.calls++ == bus.refuse_call ? Fail(ENXIO) : Send(*transfer);
}

namespace {

void FitBus() {
  bus = Bus();
  bus.bytes.fill(0xFF);
}

// Closes the descriptor and gives the adapter that it was opened with.
const I2cAdapter* AdapterOf(int fd) {
  I2c_Close(fd);
  return I2c_UseAdapter(nullptr);
}

// Every character device will do: what it does is up to the emulated bus.
class I2cKernel : public testing::Test {
 protected:
  void SetUp() override {
    FitBus();
    fd = I2c_Open("/dev/null");
    ASSERT_GE(fd, 0);
  }
  void TearDown() override { EXPECT_EQ(&i2c_kernel_adapter, AdapterOf(fd)); }
  int fd = -1;
};

TEST_F(I2cKernel, IsChosenForADeviceThatIsNotTheVendors) {
  bus.is_vendor_driver = true;
  EXPECT_EQ(&i2c_vendor_adapter, AdapterOf(I2c_Open("/dev/null")));
  (void)I2c_UseAdapter(&i2c_kernel_adapter);
}

TEST_F(I2cKernel, LeavesTheBytesThatTheVendorsBuffersLeave) {
  static constexpr std::array<std::uint8_t, 4> raw = {0x11, 0x22, 0x33, 0x44};
  using Call = std::function<int(int fd, std::uint32_t address)>;
  const std::vector<Call> calls = {
      [](int on, auto at) { return EEprom_WriteByte(on, at, 0x5A); },
      [](int on, auto at) { return EEprom_WriteWord(on, at, 0x1234, ByteOrder::big_endian); },
      [](int on, auto at) { return EEprom_WriteWord(on, at, 0x1234, ByteOrder::little_endian); },
      [](int on, auto at) { return EEprom_WriteDword(on, at, 0x12345678, ByteOrder::big_endian); },
      [](int on, auto at) {
        return EEprom_WriteDword(on, at, 0x12345678, ByteOrder::little_endian);
      },
      [](int on, auto at) { return EEprom_WriteRaw(on, at, std::span(raw).first(3)); },
      [](int on, auto at) {
        return EEprom_WriteValue(on, at, 0x123456, 3, ByteOrder::big_endian);
      }};
  FitFakeChip();
  chip.records = false;
  const I2cAdapter* vendor_buffers = I2c_UseAdapter(&i2c_kernel_adapter);
  for (const std::uint32_t start : {0x00U, 0x1FFE0U, 0x70000U}) {
    for (std::size_t number = 0; number < calls.size() * (page_size + 2); ++number) {
      const Call& call = calls[number % calls.size()];
      const auto address = static_cast<std::uint32_t>(start + number / calls.size());
      EXPECT_EQ(0, call(fd, address));
      (void)I2c_UseAdapter(vendor_buffers);
      EXPECT_EQ(0, call(fd, address));
      (void)I2c_UseAdapter(&i2c_kernel_adapter);
      ASSERT_TRUE(chip.bytes == bus.bytes) << "call " << number % calls.size() << " at " << address;
      std::uint32_t value = 0;
      EEprom_Read(fd, address, value, 1);
      EXPECT_EQ(chip.bytes[address], value);
    }
  }
}

TEST_F(I2cKernel, SendsTheRegisterAddressHighByteFirst) {
  EXPECT_EQ(0, EEprom_WriteWord(fd, 0x122F, 0xABCD, ByteOrder::big_endian));
  EXPECT_EQ(0, EEprom_WriteWord(fd, 0x51F, 0xABCD, ByteOrder::big_endian))
      << "across a page of the chip";
  EXPECT_EQ(30000U, bus.slept_us) << "a write cycle for each transfer";
  std::uint32_t value = 0;
  EEprom_Read(fd, 0x1230, value, 1);
  EXPECT_EQ(0xCDU, value);
  EXPECT_EQ((SentMessages{{0x50, false, {0x12, 0x2F, 0xAB, 0xCD}},
                          {0x50, false, {0x05, 0x1F, 0xAB}},
                          {0x50, false, {0x05, 0x20, 0xCD}},
                          {0x50, false, {0x12, 0x30}},
                          {0x50, true, {0xCD}}}),
            bus.messages);
  EXPECT_EQ(4, bus.calls) << "address and data of a read in one call";
}

TEST_F(I2cKernel, RepeatsWhatASignalInterrupted) {
  bus.interruptions = 2;
  EXPECT_EQ(0, EEprom_WriteByte(fd, 0x40, 0x77));
  bus.interruptions = 2;
  std::uint32_t value = 0;
  EEprom_Read(fd, 0x40, value, 1);
  EXPECT_EQ(0x77U, value);
}

TEST_F(I2cKernel, ReportsARefusedWrite) {
  for (const int refused : {0, 1}) {
    FitBus();
    bus.refuse_call = refused;
    testing::internal::CaptureStdout();
    EXPECT_EQ(-1, EEprom_WriteWord(fd, 0x1F, 0x1122, ByteOrder::big_endian));
    EXPECT_EQ("I2C_WRITE error!\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(refused + 1, bus.calls) << "nothing is sent behind it";
    EXPECT_EQ(static_cast<unsigned>(refused) * write_cycle_us, bus.slept_us);
  }
  EXPECT_EQ(-1, I2c_Write(fd, std::array<std::uint8_t, 5>{})) << "not in this width";
}

TEST_F(I2cKernel, LeavesTheAddressWhereNothingAnswers) {
  bus.refuse_call = 1;
  std::uint32_t value = 0;
  EEprom_Read(fd, 0x1234, value, 3);
  EXPECT_EQ(0xFF35FFU, value);
}

}  // namespace
