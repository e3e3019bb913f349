// SPDX-License-Identifier: MIT
// A configuration on its way into an EEPROM: the whole image, one section, one cleared section.
// Refused transfers are reported one by one and passed over.
#pragma once

#include <cstddef>
#include <cstdint>

#include "config/section_list.h"
#include "platform/libcfg.h"
#include "sections/section_record.h"

// Builds the section at a position of the chain from a configuration and writes it at the record's
// address, which then is the next section's. The identification section only moves the address.
void Image_WriteSection(int fd, cfg_node* root, std::size_t position, SectionType type,
                        SectionRecord& record);

// The same for the whole chain, from address 0.
void Image_WriteSections(int fd, cfg_node* root);

// Writes the identification section, which completes an image. Only the product number's first 32
// bytes are stored.
void Image_WriteIdentification(int fd, const ValueSlot& product, std::uint32_t time);

// Fills the record's payload from the rows of a map; without a configuration, with what empty
// values make.
void Image_ConvertRows(const SectionMap& map, SectionRecord& record, cfg_node* root);

// Writes the whole image, the identification section last, so that an image that was cut short
// counts as empty at the next start. Returns 0, or -1 when the configuration can't be opened.
int Nv_InitEEprom();

// Image_WriteSection into the camera's EEPROM. Returns 0.
int Nv_InitSection(cfg_node* root, std::size_t position, SectionType type, SectionRecord& record);

// Writes the identification section with this camera's product number and the current time.
// Returns 0.
int Nv_WriteIdentification();

// Rewrites a stream-profile or network-storage section as one of empty values. Any other type is
// reported and left alone.
void Nv_CleanSection(const SectionNode& node);
