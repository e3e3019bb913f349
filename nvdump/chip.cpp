// SPDX-License-Identifier: MIT
#include "nvdump/chip.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "eeprom/i2c_eeprom.h"
#include "nvdump/lock.h"
#include "nvdump/options.h"
#include "nvdump/output.h"
#include "nvdump/text.h"
#include "platform/host.h"
#include "platform/i2c_bus.h"
#include "sections/section.h"

namespace {

constexpr std::size_t largest_chip = 0x10000;  // its addresses have 16 bits
// A chip is silent for 10 ms after each write, and a daemon that writes a long text leaves little
// time in between.
constexpr unsigned patience_ms = 500;
// A daemon writes two bytes in a write cycle and what the bus takes.
constexpr unsigned write_us_per_byte = I2C_WRITE_CYCLE_US * 6 / 10;
constexpr std::size_t longest_field = 256;

// The device behind the bus, and what of it is already in memory.
struct Reading {
  const I2cAdapter* device = nullptr;
  std::vector<std::uint8_t> bytes;
  std::vector<bool> known = std::vector<bool>(largest_chip);
  std::size_t count = 0;          // of the bytes read
  std::size_t silent = SIZE_MAX;  // the first address that gave no answer
  int error = 0;                  // and why
  std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
};
Reading reading;

void ShowProgress() {
  constexpr std::size_t step = 256;
  if (++reading.count % step != 0 || isatty(STDERR_FILENO) == 0) return;
  if (std::chrono::steady_clock::now() - reading.begin < std::chrono::seconds(1)) return;
  (void)std::fprintf(stderr, "\r%zu bytes read", reading.count);
}

void EndProgress() {
  const bool was_shown = std::chrono::steady_clock::now() - reading.begin > std::chrono::seconds(1);
  if (was_shown && isatty(STDERR_FILENO) != 0) (void)std::fputs("\r\x1B[K", stderr);
}

// Asks the chip until it answers, or until it would have long ago.
ssize_t AskChip(int fd, std::span<std::uint8_t> buffer) {
  for (unsigned attempt = 0; attempt < patience_ms; ++attempt) {
    std::array transfer{buffer[0], buffer[1]};
    if (reading.device->read(fd, transfer) > 0) {
      buffer[0] = transfer[0];
      return static_cast<ssize_t>(buffer.size());
    }
    reading.error = errno;
    Host_SleepMicroseconds(1000);
  }
  return -1;
}

ssize_t Read(int fd, std::span<std::uint8_t> buffer) {
  const std::size_t address = I2c_FlatAddress(buffer);
  if (address >= largest_chip || reading.silent != SIZE_MAX) return -1;
  if (!reading.known[address]) {
    if (AskChip(fd, buffer) < 0) {
      reading.silent = address;
      return -1;
    }
    if (reading.bytes.size() <= address) reading.bytes.resize(address + 1, 0xFF);
    reading.bytes[address] = buffer[0];
    reading.known[address] = true;
    ShowProgress();
  }
  buffer[0] = reading.bytes[address];
  return static_cast<ssize_t>(buffer.size());
}

int Request(int fd, unsigned long request, unsigned long argument) {
  (void)I2c_Select(fd, request, argument);
  return reading.device->request(fd, request, argument);
}

ssize_t NeverWrite(int /*fd*/, std::span<const std::uint8_t> /*buffer*/) { return -1; }

constexpr I2cAdapter reader = {.name = "reader",
                               .claims = nullptr,
                               .request = Request,
                               .write = NeverWrite,
                               .read = Read,
                               .wait = nullptr};

void CheckSilence() {
  if (reading.silent == SIZE_MAX) return;
  throw Failure(
      Format("read: address %04zx stays silent: %s", reading.silent, std::strerror(reading.error)));
}

struct Range {
  std::uint32_t address;
  std::size_t size;
};

// The chain's headers and fields, which come into memory on the way.
std::vector<Range> ReadChain(int fd) {
  std::vector<Range> ranges;
  ChainWalk walk;
  SectionRecord record;
  do {
    record = SectionRecord();
    record.address = walk.address;
    const bool is_readable = EEprom_ReadSection(fd, record) == 0;
    CheckSilence();
    ranges.push_back({record.address, SECTION_HEADER_SIZE});
    std::size_t offset = 0;
    for (const Field& field : Map_At(walk.position).fields) {
      if (!is_readable || offset + field.format.size > record.data.size()) break;
      ranges.push_back({Section_FieldAddress(record.address, offset), field.format.size});
      offset += field.format.size;
    }
  } while (Chain_Advance(walk, record.next_address) == ChainStep::next &&
           walk.position < chain_sections);
  return ranges;
}

std::vector<std::uint8_t> ReadRange(int fd, Range range) {
  std::vector<std::uint8_t> bytes(range.size);
  EEprom_ReadBytes(fd, range.address, bytes);
  CheckSilence();
  return bytes;
}

void Forget(Range range) {
  const std::size_t end = std::min<std::size_t>(range.address + range.size, largest_chip);
  for (std::size_t at = range.address; at < end; ++at) reading.known[at] = false;
}

// Half of a value may have been there and half of another one. What reads the same twice, further
// apart than a daemon takes to write it, is a value. Returns whether it is the one that was there
// before.
bool ReadUntilTrue(int fd, Range range) {
  constexpr int most_attempts = 100;
  auto before = ReadRange(fd, range);  // from memory, of the pass before
  for (int attempt = 0; attempt < most_attempts; ++attempt) {
    Forget(range);
    const auto now = ReadRange(fd, range);
    if (now == before) return attempt == 0;
    before = now;
    Host_SleepMicroseconds((static_cast<unsigned>(range.size) + 4) * write_us_per_byte);
  }
  throw Failure(Format("read: address %04x changes faster than it can be read", range.address));
}

// Reads again until nothing has changed meanwhile, so that values of several fields are whole, too.
void ReadBesideDaemon(int fd) {
  constexpr int most_passes = 3;
  const std::vector<Range> ranges = ReadChain(fd);
  for (int pass = 0; pass < most_passes; ++pass) {
    bool is_still = true;
    Host_SleepMicroseconds(longest_field * write_us_per_byte);
    for (const Range range : ranges) is_still = ReadUntilTrue(fd, range) && is_still;
    if (is_still) return;
  }
  Say("a daemon keeps writing: each field is whole, but a parameter of several may be half old");
}

// Whether a daemon has the device. Throws Failure when that leaves nothing to be read.
bool IsShared(int fd, bool anyway) {
  if (!Device_IsLocked(fd)) return false;
  if (reading.device != &i2c_vendor_adapter || anyway) return true;
  I2c_Close(fd);
  throw Failure("a daemon is using it, and its driver would mix up both; stop nvd, or --anyway");
}

}  // namespace

void Chip_Read(const std::string& device, bool anyway, Image& image) {
  const int fd = I2c_OpenToRead(device.c_str());
  if (fd < 0) throw Failure(std::string("open: ") + std::strerror(errno));
  image.adapter = I2c_AdapterName();
  reading = Reading();
  reading.device = I2c_UseAdapter(&reader);
  bool is_shared = IsShared(fd, anyway);
  if (!is_shared) {
    (void)ReadChain(fd);
    is_shared = IsShared(fd, anyway);  // one may have been started meanwhile
    if (is_shared) Forget({0, largest_chip});
  }
  if (is_shared) ReadBesideDaemon(fd);
  EndProgress();
  I2c_Close(fd);
  image.bytes = reading.bytes;
}
