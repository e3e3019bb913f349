// SPDX-License-Identifier: MIT
// An emulated EEPROM behind the adapter seam. It records what the bus sees, holds the chip's bytes,
// and can refuse transfers, die at one, or be pulled off the bus.
#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

struct BusEvent {
  enum Kind { request, write, read, wait } kind;
  unsigned long number;             // the request, or the microseconds waited
  std::vector<std::uint8_t> bytes;  // the buffer written or handed to read; a request's argument

  bool operator==(const BusEvent&) const = default;
};
std::ostream& operator<<(std::ostream& out, const BusEvent& event);

BusEvent Request(unsigned long number, std::uint8_t argument);
BusEvent Write(std::vector<std::uint8_t> bytes);
BusEvent Read(std::vector<std::uint8_t> bytes);
BusEvent Wait(unsigned long microseconds);

using BusEvents = std::vector<BusEvent>;

struct FakeChip {
  std::array<std::uint8_t, 0x80000> bytes;
  BusEvents events;
  bool records = true;
  int writes = 0;          // so far
  int refuse_write = -1;   // the number of the write, from 0, that is refused; -2: all of them
  int dies_at_write = -1;  // this write and everything behind it is lost without a word ...
  int survivors = 0;       // ... but for so many bytes of the first one; -1: they are torn
  bool absent = false;     // nobody answers on the bus
  long reads = 0;          // so far

  std::string Text(std::size_t address, std::size_t size) const;
};

// A fresh chip, erased and empty of events, with the daemon's handle on it.
extern FakeChip chip;
void FitFakeChip();
