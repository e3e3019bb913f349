// SPDX-License-Identifier: MIT
// Recording to the memory card (srin) and to network storage (srex): payload layouts, writers and
// readers.
#pragma once

#include "sections/field_codec.h"

// clang-format off
inline constexpr auto srin_fields = JoinFields(
    std::array{
        byte_field, byte_field, byte_field, byte_field,  // card, continuous, on event, event media
        u16_field, u16_field,                            // seconds before and after an event
        TextField(32), TextField(32), u16_field},        // video and snapshot profile, days kept
    Repeat<8>(TextField(16)), Repeat<8>(TextField(64)));

// The last value field has no row in the section map; it is stored and read like its siblings.
inline constexpr auto srex_fields = JoinFields(
    std::array{
        byte_field, byte_field,                          // enabled, server type
        TextField(32), TextField(32), TextField(256),    // domain, address, path
        u16_field, u16_field, u16_field, u16_field,      // TCP and UDP ports
        byte_field, byte_field,                          // passive FTP, authentication
        TextField(32), TextField(32),                    // user name, password
        byte_field, byte_field, byte_field,              // continuous, on event, event media
        u16_field, u16_field,                            // seconds before and after an event
        TextField(32), TextField(32),                    // video and snapshot profile
        u16_field, word32_field},                        // days and size kept
    Repeat<8>(TextField(16)), Repeat<8>(TextField(64)));
// clang-format on

static_assert(IsStorable(srin_fields) && PayloadSize(srin_fields) == 714);
static_assert(IsStorable(srex_fields) && PayloadSize(srex_fields) == 1113);

std::uint32_t EEprom_WriteSrin(int fd, const SectionRecord& record, std::uint32_t payload_address);
std::uint32_t EEprom_WriteSrex(int fd, const SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadSrin(int fd, SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadSrex(int fd, SectionRecord& record, std::uint32_t payload_address);
