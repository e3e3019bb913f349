// SPDX-License-Identifier: MIT
// Where an image comes from.
#pragma once

#include "nvdump/image.h"
#include "nvdump/options.h"

// Opens the image that an operand stands for: a file with the chip's bytes, "-" for standard input,
// a configuration, a device; the empty one is the options' device. Throws Failure.
Image Source_Open(const Options& options, const std::string& operand);

// Whether an operand that may be something else names a source.
bool Source_IsName(const std::string& operand);

// Looks at each operand's image, and goes on behind one that can't be read.
// Returns the worst status.
using Look = int (*)(const Options& options, const Image& image, std::string& out);
int Source_ForEach(const Options& options, Look look, std::string& out);

// Reads a file, or for "-" standard input, no further than an image or a configuration goes. Throws
// Failure.
std::string Source_Read(const std::string& name);

// Reads the bytes of the device of an image's name into it, as far as its chain of sections goes,
// and never writes. A daemon may be using it: a chip in its write cycle is asked again, and
// everything is read again until it is the same twice. With the camera's own adapter driver, which
// has one selection for everybody, it throws Failure while a daemon has the device, unless
// `anyway`. It also throws when an address stays silent.
void Chip_Read(bool anyway, Image& image);
