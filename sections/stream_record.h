// SPDX-License-Identifier: MIT
// One video stream profile (stpf): payload layout, writer and reader.
#pragma once

#include "sections/field_codec.h"

// clang-format off
inline constexpr auto stpf_fields = JoinFields(
    std::array{
        TextField(32), byte_field,                               // name, codec
        u16_field, u16_field, u16_field,                         // width, height, frames in 100 s
        byte_field, u16_field, byte_field,                       // profile, GOP, rate control
        word32_field, word32_field, word32_field, word32_field,  // CBR rate, least; VBR quality, most
        byte_field, byte_field},                                 // overlay, audio
    Repeat<16>(TextField(16)), Repeat<16>(TextField(64)));
// clang-format on

static_assert(IsStorable(stpf_fields) && PayloadSize(stpf_fields) == 1341);

std::uint32_t EEprom_WriteStpf(int fd, const SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadStpf(int fd, SectionRecord& record, std::uint32_t payload_address);
