// SPDX-License-Identifier: MIT
// Single configuration changes on their way into the EEPROM.
#pragma once

#include <string_view>

#include "config/section_list.h"
#include "sections/section_record.h"

// A change notice: rewrites every field whose row names the parameter `key`. Returns 0.
int Nv_HandleParameterChange(std::string_view key, std::string_view value);

// Rewrites the field of one row and refreshes the time stamp. A row's only path gets
// `value`; of several, those that contain `key` do, and the others their parameter's current value.
// The record brings the section's type and is empty afterwards. Returns 0; or -1 for a type that is
// not 1 to 10, with
// "%s: Unknown section type %d.\n".
int Nv_UpdateSectionData(std::string_view key, std::string_view value, std::size_t row,
                         SectionRecord& record, const SectionNode& node);

// Writes the current time into the identification section.
void Nv_TouchIdentification();

// Lowers the stream profiles' resolutions and frame rates to what the sensor can do, in the
// configuration and in the EEPROM. Returns 0, or -1 when the configuration can't be opened.
int Nv_ClampStreamSettings();
