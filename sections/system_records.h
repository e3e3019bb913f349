// SPDX-License-Identifier: MIT
// Date and time (ssdt), users (sssc) and network (ssnt): payload layouts, writers and readers.
#pragma once

#include "sections/field_codec.h"

inline constexpr auto ssdt_fields = JoinFields(std::array{byte_field, byte_field},  // format, NTP
                                               Repeat<4>(TextField(32)),            // NTP servers
                                               std::array{TextField(64)});          // time zone

inline constexpr std::size_t sssc_users = 5;
inline constexpr auto sssc_fields = JoinFields(Repeat<sssc_users>(TextField(32)),  // names
                                               Repeat<sssc_users>(TextField(32)),  // passwords
                                               Repeat<sssc_users>(byte_field));    // groups

inline constexpr auto ssnt_fields =
    JoinFields(std::array{byte_field, TextField(32), TextField(32), TextField(32),  // DHCP, address
                          byte_field, TextField(32), TextField(32),                 // DNS
                          u16_field, u16_field},                                    // ports
               Repeat<8>(TextField(16)), Repeat<8>(TextField(64)));

static_assert(IsStorable(ssdt_fields) && PayloadSize(ssdt_fields) == 194);
static_assert(IsStorable(sssc_fields) && PayloadSize(sssc_fields) == 325);
static_assert(IsStorable(ssnt_fields) && PayloadSize(ssnt_fields) == 806);

// Each writer returns the address behind the payload, each reader 0 or -1; see field_codec.h.
std::uint32_t EEprom_WriteSsdt(int fd, const SectionRecord& record, std::uint32_t payload_address);
std::uint32_t EEprom_WriteSssc(int fd, const SectionRecord& record, std::uint32_t payload_address);
std::uint32_t EEprom_WriteSsnt(int fd, const SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadSsdt(int fd, SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadSssc(int fd, SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadSsnt(int fd, SectionRecord& record, std::uint32_t payload_address);
