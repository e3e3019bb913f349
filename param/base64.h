// SPDX-License-Identifier: MIT
// The base64 coding of account values. The characters are those of RFC 4648; encoder and decoder
// are not each other's inverse, because the camera's own programs read and write accounts this way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// Encodes `input` into `output` and terminates it. A line feed follows every 72 characters of whole
// groups. What does not fit is cut. Returns the length of the text.
std::size_t Param_Base64Encode(std::span<const std::uint8_t> input, std::span<char> output);

// Decodes leniently: characters other than letters, digits, "+" and "-" (63) are skipped, "/" too.
// Bytes beyond the output's capacity are dropped. Returns the number of bytes written, including
// the terminating NUL that follows them where there is room.
std::size_t Param_Base64Decode(std::span<char> output, std::string_view input);
