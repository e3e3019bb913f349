// SPDX-License-Identifier: MIT
// Where the characters of a UTF-8 text begin.
#pragma once

#include <cstddef>
#include <string_view>

// How many bytes the first character of a text has, those that are missing at its end included; 0
// when the bytes are none.
std::size_t Utf8_CharacterSize(std::string_view text);
