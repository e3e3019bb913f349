// SPDX-License-Identifier: MIT
// A configuration on its way into an EEPROM: the whole image, one section, one cleared section.
// Refused transfers are reported one by one and passed over.
#pragma once

#include <cstddef>

#include "config/section_list.h"
#include "platform/libcfg.h"
#include "sections/section_record.h"

// Writes the whole image, the identification section last, so that an image that was cut short
// counts as empty at the next start. Returns 0, or -1 when the configuration can't be opened.
int Nv_InitEEprom();

// Builds the section at a position of the chain from a configuration and writes it at the record's
// address, which then is the next section's. The identification section only moves the address.
// Returns 0.
int Nv_InitSection(cfg_node* root, std::size_t position, SectionType type, SectionRecord& record);

// Writes the identification section with the first 32 bytes of this camera's product number and the
// current time, which completes an image. Returns 0.
int Nv_WriteIdentification();

// Rewrites a stream-profile or network-storage section, a node of the list, as one of empty values.
// Any other type is reported and left alone.
void Nv_CleanSection(const SectionNode& node);
