// SPDX-License-Identifier: MIT
// One section in the EEPROM: a 9-byte header and the payload that its type has.
//
// Header: type (32-bit, big-endian), version (8-bit), next address (32-bit, big-endian).
#pragma once

#include "sections/field_codec.h"

inline constexpr std::uint32_t SECTION_HEADER_SIZE = 9;
inline constexpr std::uint32_t section_version = 1;

// The identification section; the bytes 53 50 52 4B in ascending addresses.
inline constexpr std::uint32_t identification_type = 0x5350524B;
inline constexpr std::size_t identification_id_size = 32;
inline constexpr std::array identification_fields = {
    TextField(identification_id_size),  // id: product number, NUL-padded
    word32_field,                       // time: seconds since 1970
};
inline constexpr std::uint32_t identification_id_address = SECTION_HEADER_SIZE;
inline constexpr std::uint32_t identification_time_address =
    identification_id_address + identification_id_size;
static_assert(IsStorable(identification_fields) && PayloadSize(identification_fields) == 36);
static_assert(identification_time_address == 41);

// The payload's size in bytes by section type (1 to 10 and identification); 0 for any other type.
std::size_t Section_PayloadSize(std::uint32_t type);

// Fills in what a new section of the record's type needs: version, zeroed payload, and the next
// address right behind the section. Returns false, with no payload, for an unknown type.
bool Section_Prepare(SectionRecord& record);

// "%s: Unknown section type %d.\n"
void Section_ReportUnknownType(const char* function, std::uint32_t type);

// "Section Type=0x%x,Section Version=0x%x,next address=0x%x\n"
void Section_PrintHeader(const SectionRecord& record);

// Writes header and payload at the record's address, which then is the address behind the section.
// An unknown type leaves its header in the EEPROM, is reported, and the address stays. Returns 0;
// refused transfers are reported one by one and passed over.
int EEprom_WriteSection(int fd, SectionRecord& record);

// Reads header and payload at the record's address into its other members. Returns 0; or -1, with
// no payload, for an unknown type, a version other than 1, or an identification on a bus that
// refused the data width. The header's members are valid either way.
int EEprom_ReadSection(int fd, SectionRecord& record);
