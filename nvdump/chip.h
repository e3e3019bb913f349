// SPDX-License-Identifier: MIT
// Reads the chip on the I/O board.
#pragma once

#include <string>

#include "nvdump/image.h"

// Reads a device's bytes into an image, as far as its chain of sections goes, and never writes. A
// daemon may be using it: a chip in its write cycle is asked again, and what was being written
// while it was read is read again. With the camera's own adapter driver, which has one selection
// for everybody, it throws Failure while a daemon has the device, unless `anyway`. It also throws
// when an address stays silent.
void Chip_Read(const std::string& device, bool anyway, Image& image);
