// SPDX-License-Identifier: MIT
// The machine's services and files, in memory: linked in the place of platform/host and
// platform/file, so that no test sleeps, starts a process or touches the disk.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

struct FakeMachine {
  std::uint32_t time = 0x01020304;
  std::vector<std::string> commands;              // run through the shell, in order
  std::function<void(const std::string&)> shell;  // what a command does
  std::map<std::string, std::string> files;
  int saves = 0;
  bool disk_full = false;
};
extern FakeMachine machine;

// A fresh camera: erased chip, device.conf with these parameters, daemon state as at start.
void FitFakeCamera(const std::map<std::string, std::string>& parameters = {});

// One parameter of the fake device.conf; "(none)" when it does not exist.
std::string Parameter(const std::string& path);
void SetParameter(const std::string& path, const std::string& value);

// What the code prints to standard output while `action` runs.
std::string OutputOf(const std::function<void()>& action);
