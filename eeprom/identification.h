// SPDX-License-Identifier: MIT
// Whose image the EEPROM holds.
#pragma once

#include <string_view>

// What the identification section at address 0 says.
inline constexpr int identification_match = 0;     // an image of this product
inline constexpr int identification_empty = 1;     // no valid and finished identification section
inline constexpr int identification_mismatch = 2;  // an image of another product

// Reads the identification section and compares its product number with this camera's. Only the
// first 32 bytes of a product number are stored, and compared. An id that holds a 0xFF was never
// finished and counts as empty. An answer other than a match is believed when header and id read
// the same once more; else the check starts again, at most three times in all.
int Nv_CheckIdentification(int fd, std::string_view product);

// The bytes 4D 46 54 00 at address 0 mark an I/O board in the factory's test set-up.
bool Nv_IsMftBoard(int fd);
