// SPDX-License-Identifier: MIT
#include "tests/fakes/fake_chip.h"

#include <cstdio>

#include "eeprom/i2c_eeprom.h"
#include "platform/i2c_bus.h"

FakeChip chip;

namespace {

constexpr std::uint8_t torn_byte = 0xA5;  // what a cell may hold when its write cycle is cut

std::size_t block;
std::size_t data_bytes;

std::size_t Address(std::span<const std::uint8_t> buffer) {
  return block + buffer[0] + 256U * buffer[1];
}

void Record(BusEvent::Kind kind, unsigned long number, std::span<const std::uint8_t> bytes) {
  if (chip.records) chip.events.push_back({kind, number, {bytes.begin(), bytes.end()}});
}

int OnRequest(int, unsigned long request, unsigned long argument) {
  Record(BusEvent::request, request, std::array{static_cast<std::uint8_t>(argument)});
  if (request == I2C_SLAVE_FORCE) block = (argument & 0x0EU) << 15U;
  if (request == I2C_REQUEST_DATA_WIDTH) data_bytes = argument + 1;
  return 0;
}

ssize_t OnWrite(int, std::span<const std::uint8_t> buffer) {
  Record(BusEvent::write, 0, buffer);
  const int number = chip.writes++;
  if (chip.absent || number == chip.refuse_write || chip.refuse_write == -2) return -1;
  const bool dead = chip.dies_at_write >= 0 && number >= chip.dies_at_write;
  const bool dying = dead && number == chip.dies_at_write;
  const bool torn = dying && chip.survivors < 0;
  const std::size_t kept = !dead || torn ? data_bytes
                           : dying       ? static_cast<std::size_t>(chip.survivors)
                                         : 0;
  for (std::size_t i = 0; i < std::min(kept, data_bytes); ++i) {
    chip.bytes.at(Address(buffer) + i) = torn ? torn_byte : buffer[1 + data_bytes - i];
  }
  return static_cast<ssize_t>(buffer.size());
}

ssize_t OnRead(int, std::span<std::uint8_t> buffer) {
  ++chip.reads;
  Record(BusEvent::read, 0, buffer);
  if (chip.absent) return -1;
  buffer[0] = chip.bytes.at(Address(buffer));
  return static_cast<ssize_t>(buffer.size());
}

void OnWait(unsigned microseconds) { Record(BusEvent::wait, microseconds, {}); }

constexpr I2cAdapter adapter = {.name = "fake",
                                .claims = nullptr,
                                .request = OnRequest,
                                .write = OnWrite,
                                .read = OnRead,
                                .wait = OnWait};

}  // namespace

BusEvent Request(unsigned long number, std::uint8_t argument) {
  return {BusEvent::request, number, {argument}};
}
BusEvent Write(std::vector<std::uint8_t> bytes) { return {BusEvent::write, 0, std::move(bytes)}; }
BusEvent Read(std::vector<std::uint8_t> bytes) { return {BusEvent::read, 0, std::move(bytes)}; }
BusEvent Wait(unsigned long microseconds) { return {BusEvent::wait, microseconds, {}}; }

std::ostream& operator<<(std::ostream& out, const BusEvent& event) {
  constexpr std::array names = {"request", "write", "read", "wait"};
  out << names[event.kind] << ' ' << std::hex << event.number << " [";
  for (const std::uint8_t byte : event.bytes) out << ' ' << int{byte};
  return out << " ]" << std::dec;
}

std::string FakeChip::Text(std::size_t address, std::size_t size) const {
  return {bytes.begin() + static_cast<long>(address),
          bytes.begin() + static_cast<long>(address + size)};
}

void FitFakeChip() {
  chip.bytes.fill(0xFF);
  chip.events.clear();
  chip.records = true;
  chip.writes = 0;
  chip.refuse_write = chip.dies_at_write = -1;
  chip.survivors = 0;
  chip.absent = false;
  chip.reads = 0;
  (void)I2c_UseAdapter(&adapter);
  eeprom_handle = 7;  // any number; nothing but the adapter sees it
}
