// SPDX-License-Identifier: MIT
// Output for people and for programs.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "nvdump/image.h"

using Json = nlohmann::ordered_json;

// The version of the object that --json prints: more members may come, none changes its meaning.
inline constexpr int json_schema = 1;

// The object's first members: schema, command and source.
Json Json_Head(const char* command, const Image& image);

// The object as text; bytes that are no UTF-8 become U+FFFD.
std::string Json_Text(const Json& json);

// Rows as lines: columns aligned on a terminal, separated by a tab elsewhere.
std::string TableText(const std::vector<std::vector<std::string>>& rows);

enum class Colour : std::uint8_t { red = 31, green = 32, cyan = 36 };

// Coloured on a terminal, unless NO_COLOR is set.
std::string Painted(Colour colour, const std::string& text);

// A value between quotes, escaped; what stands for it when it is secret.
std::string Quoted(std::string_view value, bool is_shown);

// A line on standard error.
void Say(const std::string& text);
