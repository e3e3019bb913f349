// SPDX-License-Identifier: MIT
// Texts and bytes as people read them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// What stands for a password.
inline constexpr const char* hidden = "********";

// Control characters and bytes that are no UTF-8 as "\x1b", so that a text can't speak to the
// terminal.
std::string Escaped(std::string_view text);

// A character that a cut left unfinished at the end is fine.
bool IsUtf8(std::string_view text);

// "00000a"
std::string Hex(std::span<const std::uint8_t> bytes);

// The same with blanks, and a run of at least four equal bytes with its length: "0a 00*4".
std::string HexRuns(std::string_view hex);

// A time in seconds since 1970 as "2026-11-23 07:00:00 UTC".
std::string Time_Text(std::uint32_t seconds);

// printf(3) into a text of at most 1023 bytes.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);

// A line on standard error, escaped.
void Say(std::string_view text);
