// SPDX-License-Identifier: MIT
// Where an image comes from.
#pragma once

#include "config/store.h"
#include "nvdump/image.h"
#include "nvdump/options.h"

// Opens the image that a name stands for: a file with the chip's bytes, "-" for standard input, a
// configuration file, a device; the empty name is the options' device. Throws Failure.
Image Source_Open(const Options& options, const std::string& name);

// The same for a command's only operand, or none.
Image Source_Open(const Options& options, const std::vector<std::string>& operands);

// Whether an operand that may be something else names a source.
bool Source_IsName(const std::string& operand);

// A copy of a configuration in a folder of its own, where it is changed and saved as the daemon
// does with its own. Throws Failure.
struct WorkingCopy {
  std::string folder;
  std::string path;

  explicit WorkingCopy(const std::string& content);
  ~WorkingCopy();
  WorkingCopy(const WorkingCopy&) = delete;
  WorkingCopy& operator=(const WorkingCopy&) = delete;
};

// Opens a configuration, a file or what comes through a pipe, and makes its product number and its
// network storage the camera's. Throws Failure.
ConfigFile Source_OpenConfig(const std::string& path);

// The same for a copy of what people know by `name`.
ConfigFile Source_OpenConfig(const WorkingCopy& copy, const std::string& name);

// The image that the daemon would write for the open configuration into a blank EEPROM.
Image Source_Build(const ConfigFile& config, std::uint32_t time);

// Reads a whole file, or for "-" standard input, which is there once. Throws Failure.
std::string Source_Read(const std::string& path);
