// SPDX-License-Identifier: MIT
// Time zones: the configuration holds a display text ("GMT 08:00/Asia/Taipei"), the EEPROM the
// zone's name ("Asia/Taipei").
#pragma once

#include <string_view>

// The text behind the first "/"; empty when there is none.
std::string_view TimeZone_Name(std::string_view display_text);

// The display text of the last known zone of that name; empty for an unknown zone.
std::string_view TimeZone_DisplayText(std::string_view name);
