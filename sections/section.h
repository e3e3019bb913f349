// SPDX-License-Identifier: MIT
// One section in the EEPROM: a 9-byte header and the payload that its type has.
//
// Header: type (32-bit, big-endian), version (8-bit), next address (32-bit, big-endian).
#pragma once

#include "sections/section_record.h"

inline constexpr std::uint32_t SECTION_HEADER_SIZE = 9;

// The EEPROM address of a field of the section whose header lies at `section`.
constexpr std::uint32_t Section_FieldAddress(std::uint32_t section, std::size_t offset) {
  return section + SECTION_HEADER_SIZE + static_cast<std::uint32_t>(offset);
}

// The payload's size in bytes by section type; 0 for a type that does not exist.
std::size_t Section_PayloadSize(SectionType type);

// Fills in what a new section of the record's type needs: version, zeroed payload, and the next
// address right behind the section. Returns false, with no payload, for an unknown type.
bool Section_Prepare(SectionRecord& record);

// "%s: Unknown section type %d.\n"
void Section_ReportUnknownType(const char* function, SectionType type);

// "Section Type=0x%x,Section Version=0x%x,next address=0x%x\n"
void Section_PrintHeader(const SectionRecord& record);

// Writes header and payload at the record's address, which then is the address behind the section.
// An unknown type leaves its header in the EEPROM, is reported, and the address stays. Returns 0;
// refused transfers are reported one by one and passed over.
int EEprom_WriteSection(int fd, SectionRecord& record);

// Reads the header at the record's address into the record; 8-bit data must be selected.
void EEprom_ReadHeader(int fd, SectionRecord& record);

// Reads header and payload at the record's address into its other members. Returns 0; or -1, with
// no payload, for an unknown type, a version other than 1, or an identification on a bus that
// refused the data width. The header's members are valid either way.
int EEprom_ReadSection(int fd, SectionRecord& record);
