// SPDX-License-Identifier: MIT
// Output for programs. Apart from output.h because the JSON library takes long to compile.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "nvdump/image.h"

using Json = nlohmann::ordered_json;

// The version of the object that --json prints: more members may come, none changes its meaning.
inline constexpr int json_schema = 1;

// The object's first members: schema, command and source.
Json Json_Head(const char* command, const Image& image);

// The object as text; bytes that are no UTF-8 become U+FFFD.
std::string Json_Text(const Json& json);
