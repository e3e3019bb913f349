// SPDX-License-Identifier: MIT
// Lens (lvln), audio (lvad) and day/night switching (lvdn): payload layouts, writers and readers.
#pragma once

#include "sections/field_codec.h"

// clang-format off
inline constexpr auto lvln_fields = JoinFields(
    std::array{
        byte_field, s16_field, s16_field,   // focus: motorized, position, speed
        byte_field, s16_field, s16_field,   // iris: automatic, value, speed
        s16_field, s16_field},              // zoom: position, speed
    Repeat<8>(TextField(16)), Repeat<8>(TextField(64)));

inline constexpr auto lvad_fields = JoinFields(
    std::array{
        byte_field, u16_field, s16_field,   // encoding, sampling in hertz, noise reduction
        byte_field, s16_field,              // input: source, gain
        byte_field, s16_field},             // output: sink, gain
    Repeat<8>(TextField(16)), Repeat<8>(TextField(64)));

inline constexpr auto lvdn_fields = JoinFields(
    std::array{
        byte_field, byte_field, u16_field,  // day/night: automatic, mode, delay
        s16_field, s16_field, byte_field},  // infrared: low and high threshold, LED mode
    Repeat<8>(TextField(16)), Repeat<8>(TextField(64)));
// clang-format on

static_assert(IsStorable(lvln_fields) && PayloadSize(lvln_fields) == 654);
static_assert(IsStorable(lvad_fields) && PayloadSize(lvad_fields) == 651);
static_assert(IsStorable(lvdn_fields) && PayloadSize(lvdn_fields) == 649);

std::uint32_t EEprom_WriteLvln(int fd, const SectionRecord& record, std::uint32_t payload_address);
std::uint32_t EEprom_WriteLvad(int fd, const SectionRecord& record, std::uint32_t payload_address);
std::uint32_t EEprom_WriteLvdn(int fd, const SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadLvln(int fd, SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadLvad(int fd, SectionRecord& record, std::uint32_t payload_address);
int EEprom_ReadLvdn(int fd, SectionRecord& record, std::uint32_t payload_address);
