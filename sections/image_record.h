// SPDX-License-Identifier: MIT
// Image settings (lvim): payload layout, writer and reader.
#pragma once

#include "sections/field_codec.h"

// clang-format off
inline constexpr auto lvim_fields = JoinFields(
    std::array{
        byte_field,                                        // flip and mirror
        TextField(32), TextField(32),                      // video and snapshot profile
        byte_field, TextField(64),                         // overlay: enabled, format
        byte_field, s16_field,                             // brightness: automatic, value
        byte_field, s16_field,                             // contrast: automatic, value
        s16_field, s16_field, byte_field,                  // saturation, sharpness, white balance
        byte_field, byte_field,                            // exposure: automatic, mains frequency
        u16_field, u16_field, u16_field,                   // exposure: shortest, longest, fixed
        byte_field, u16_field, u16_field, u16_field,       // gain: automatic, least, most, fixed
        byte_field, s16_field,                             // wide dynamic range: automatic, level
        byte_field, s16_field},                            // noise reduction: automatic, level
    Repeat<16>(TextField(16)), Repeat<16>(TextField(64)));
// clang-format on

static_assert(IsStorable(lvim_fields) && PayloadSize(lvim_fields) == 1442);

std::uint32_t EEprom_WriteLvim(int fd, const SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadLvim(int fd, SectionRecord& record, std::uint32_t payload_address);
