// SPDX-License-Identifier: MIT
// Output for people; json.h has that for programs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Rows as lines: columns aligned on a terminal, separated by a tab elsewhere.
std::string TableText(const std::vector<std::vector<std::string>>& rows);

enum class Colour : std::uint8_t { red = 31, green = 32, cyan = 36 };

// Coloured on a terminal, unless NO_COLOR is set.
std::string Painted(Colour colour, const std::string& text);

// A value between quotes, escaped; what stands for it when it is secret.
std::string Quoted(std::string_view value, bool is_shown);

// A line on standard error.
void Say(const std::string& text);
