// SPDX-License-Identifier: MIT
// Where an image comes from.
#pragma once

#include "nvdump/image.h"
#include "nvdump/options.h"

// Opens the image that a name stands for: a file with the chip's bytes, "-" for standard input, a
// configuration file, a device; the empty name is the options' device. Throws Failure.
Image Source_Open(const Options& options, const std::string& name);

// The same for a command's only operand, or none.
Image Source_Open(const Options& options, const std::vector<std::string>& operands);

// Whether an operand that may be something else names a source.
bool Source_IsName(const std::string& operand);

// A copy of a configuration in a folder of its own, which is the camera's own to the daemon's
// functions: they read it, change it and save it there.
struct WorkingCopy {
  std::string folder;
  std::string path;

  // From the content of what people know by `name`. Throws Failure.
  WorkingCopy(const std::string& name, const std::string& content);
  ~WorkingCopy();
  WorkingCopy(const WorkingCopy&) = delete;
  WorkingCopy& operator=(const WorkingCopy&) = delete;

 private:
  WorkingCopy();
};

// The image that the daemon would write for the working copy into a blank EEPROM.
Image Source_Build(std::uint32_t time);

// Reads a whole file, or for "-" standard input, which is there once. Throws Failure.
std::string Source_Read(const std::string& path);
