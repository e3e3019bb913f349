// SPDX-License-Identifier: MIT
// The sections that the read-back check found in the EEPROM, in chain order.
#pragma once

#include <cstdint>
#include <vector>

#include "param/section_map.h"

struct SectionNode {
  SectionType type = SectionType::none;  // as stored; none for a section that could not be read
  std::uint32_t address = 0;             // of the section's header
  const SectionMap* map = &section_maps[chain_sections];  // by position in the chain
};

extern std::vector<SectionNode> section_list;

// The first node of a type; null when there is none.
const SectionNode* SectionList_Find(SectionType type);
