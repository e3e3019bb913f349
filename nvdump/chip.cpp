// SPDX-License-Identifier: MIT
// Reads the chip on the I/O board.
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <utility>

#include "eeprom/i2c_eeprom.h"
#include "nvdump/source.h"
#include "nvdump/text.h"
#include "platform/file.h"
#include "platform/host.h"
#include "platform/i2c_bus.h"
#include "sections/chain.h"
#include "sections/section.h"

namespace {

constexpr std::size_t largest_chip = 0x10000;  // its addresses have 16 bits
// A chip is silent for 10 ms after each write, and a daemon that writes a long text leaves little
// time in between.
constexpr unsigned patience_ms = 500;

const I2cAdapter* device;  // behind the one that asks again
std::string device_name;
std::string first_fault;  // of the first byte that gave no answer
std::size_t bytes_read;
std::chrono::steady_clock::time_point started;

bool TakesLong() {
  return isatty(STDERR_FILENO) != 0 &&
         std::chrono::steady_clock::now() - started > std::chrono::seconds(1);
}

const char* Reason() { return errno == ENOTTY ? "no I2C bus" : std::strerror(errno); }

// Asks the chip until it answers, or until it would have long ago.
ssize_t Read(int fd, std::span<std::uint8_t> buffer) {
  for (unsigned attempt = 1; first_fault.empty(); ++attempt) {
    std::array transfer{buffer[0], buffer[1]};
    if (device->read(fd, transfer) > 0) {
      buffer[0] = transfer[0];
      const bool is_step = ++bytes_read % 256 == 0;
      if (is_step && TakesLong()) (void)std::fprintf(stderr, "\r%zu bytes read", bytes_read);
      return static_cast<ssize_t>(buffer.size());
    }
    if (errno == ENOTTY || attempt == patience_ms) {
      first_fault = Format("address %04x stays silent: ", I2c_RegisterAddress(buffer)) + Reason();
    }
    Host_SleepMicroseconds(1000);
  }
  return -1;
}

int Request(int fd, unsigned long request, unsigned long argument) {
  return device->request(fd, request, argument);
}

ssize_t NeverWrite(int /*fd*/, std::span<const std::uint8_t> /*buffer*/) { return -1; }

constexpr I2cAdapter reader = {"reader", nullptr, Request, NeverWrite, Read, nullptr};

// Where the chain ends, by its headers. What does not begin like an image is looked at no further
// than it takes to see whether it is a damaged one.
std::size_t EndOfChain(int fd) {
  std::size_t end = 0;
  ChainWalk walk;
  SectionRecord record;
  EEprom_ReadHeader(fd, record);
  if (record.type != SectionType::identification) {
    record.address = Section_FieldAddress(0, PayloadSize(Map_At(0).fields));
    EEprom_ReadHeader(fd, record);
    return record.type == Map_At(1).type ? EEPROM_IMAGE_SIZE : SECTION_HEADER_SIZE;
  }
  do {
    record.address = walk.address;
    EEprom_ReadHeader(fd, record);
    const std::size_t size = SECTION_HEADER_SIZE + Section_PayloadSize(record.type);
    end = std::min(std::max(end, walk.address + size), largest_chip);
  } while (Chain_Advance(walk, record.next_address) == ChainStep::next &&
           walk.position < chain_sections && walk.address < largest_chip);
  return end;
}

std::vector<std::uint8_t> ReadOnce(int fd) {
  (void)EEprom_SelectByteWidth(fd);
  std::vector<std::uint8_t> bytes(EndOfChain(fd));
  EEprom_ReadBytes(fd, 0, bytes);
  if (TakesLong()) (void)std::fputs("\r\x1B[K", stderr);
  if (!first_fault.empty()) throw Failure(device_name + ": " + first_fault);
  return bytes;
}

// Whether anybody holds the device's lock, as a running daemon does. A lock that is taken to find
// out, however short, keeps a daemon that starts in that moment from its device.
bool IsLocked(int fd) {
  struct stat status {};
  std::string locks;
  if (fstat(fd, &status) != 0 || File_Read("/proc/locks", locks) != 0) return false;
  // "1: FLOCK  ADVISORY  WRITE 4711 00:05:123 0 EOF"
  const std::string file = Format(" %02x:%02x:", major(status.st_dev), minor(status.st_dev)) +
                           std::to_string(status.st_ino) + " ";
  for (std::size_t at = 0; (at = locks.find(file, at)) != std::string::npos; ++at) {
    const std::size_t line = locks.rfind('\n', at) + 1;  // 0 in the first line
    if (locks.substr(line, at - line).find("FLOCK") != std::string::npos) return true;
  }
  return false;
}

// Whether a daemon has the device. Throws Failure when that leaves nothing to be read.
bool IsShared(int fd, bool anyway) {
  if (!IsLocked(fd)) return false;
  if (device != &i2c_vendor_adapter || anyway) return true;
  throw Failure(device_name +
                ": in use by a daemon, and its driver would mix up both; stop nvd, or --anyway");
}

}  // namespace

void Chip_Read(bool anyway, Image& image) {
  constexpr int most_readings = 10;
  const int fd = I2c_OpenToRead(image.name.c_str());
  if (fd < 0) throw Failure(image.name + ": " + Reason());
  image.adapter = I2c_AdapterName();
  device = I2c_UseAdapter(&reader);
  device_name = image.name;
  first_fault.clear();
  started = std::chrono::steady_clock::now();
  (void)IsShared(fd, anyway);
  image.bytes = ReadOnce(fd);
  // Beside a daemon, which may be started meanwhile, what reads the same twice is whole.
  for (int readings = 2; IsShared(fd, anyway); ++readings) {
    const std::vector<std::uint8_t> before = std::exchange(image.bytes, ReadOnce(fd));
    if (image.bytes == before) break;
    if (readings < most_readings) continue;
    Say(image.name + ": keeps changing, a value may be half old and half new");
    break;
  }
  I2c_Close(fd);
}
