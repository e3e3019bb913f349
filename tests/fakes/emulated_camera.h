// SPDX-License-Identifier: MIT
// A camera in memory: the EEPROM on its bus, behind the adapter seam, and the machine's files,
// commands and time, linked in the place of platform/file and platform/host. No test sleeps, starts
// a process or touches the disk.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

struct Transfer {
  std::uint32_t address;
  std::array<std::uint8_t, 2> bytes;  // of ascending addresses
  std::uint32_t size;
};

struct EmulatedCamera {
  std::vector<std::uint8_t> chip = std::vector<std::uint8_t>(0x80000, 0xFF);
  std::vector<Transfer> writes;  // all that were tried
  long questions = 0;            // reads, and requests for the data width
  bool records = false;
  std::string bus;  // while `records`
  // Faults.
  bool absent = false;     // nobody answers on the bus
  long refuse_write = -1;  // the number of the one write, from 0, that nobody answers
  long refuse_question = -1;
  int width_answer = 0;  // of the others

  std::map<std::string, std::string> files;
  std::vector<std::string> actions;  // commands run, "save", "sleep 3", "listen", in order
  std::string factory_file;          // what the command "restore" makes of device.conf
};
extern EmulatedCamera camera;

using Parameters = std::map<std::string, std::string>;

// A fresh camera with an erased EEPROM, these parameters in device.conf and the daemon's state as
// at its start.
void FitCamera(const Parameters& parameters = {});

// The simulated camera's own device.conf and templates on an erased EEPROM.
void FitFactoryCamera();

// One parameter of device.conf; "(none)" when it does not exist.
std::string Parameter(const std::string& path);
void SetParameter(const std::string& path, const std::string& value);

// The start-up that leads to serving. Returns what the identification check said.
int StartDaemon();

// `size` bytes of the EEPROM.
std::string Stored(std::size_t address, std::size_t size);
void Store(std::size_t address, std::string_view bytes);

// The runs of bytes that an action writes, in the order of the bus: "582+9 41+4".
std::string WrittenBy(const std::function<void()>& action);

// Calls `check` with what a power failure in each transfer of an action leaves of the EEPROM (the
// transfer is lost, half of it arrives, its cells are torn) and with the files as they are now.
void ForEachCut(const std::function<void()>& action, const std::function<void()>& check);

// Adds bytes in hex to what TrafficOf returns, in the place of an adapter.
void Record(std::string_view before, std::span<const std::uint8_t> bytes, const char* behind);

// The requests, buffers and waits of an action: "A0 w01 [29 00 02 01] ~ ".
std::string TrafficOf(const std::function<void()>& action);

// What the code prints to standard output while `action` runs.
std::string OutputOf(const std::function<void()>& action);
