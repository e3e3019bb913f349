// SPDX-License-Identifier: MIT
// A payload layout is a list of fields in stored order; one writer and one reader walk it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "sections/section_record.h"

enum class FieldKind : std::uint8_t {
  MAP_TEXT = 0,    // text, terminated inside the field unless it fills it
  MAP_BYTE = 3,    // a flag or an enumeration
  MAP_U16 = 4,     // big-endian in the EEPROM
  MAP_S16 = 5,     // big-endian in the EEPROM, two's complement
  MAP_WORD32 = 6,  // big-endian in the EEPROM
};
using enum FieldKind;

struct FieldFormat {
  std::uint16_t size;  // bytes
  FieldKind kind;
};

inline constexpr FieldFormat byte_field{1, MAP_BYTE};
inline constexpr FieldFormat u16_field{2, MAP_U16};
inline constexpr FieldFormat s16_field{2, MAP_S16};
inline constexpr FieldFormat word32_field{4, MAP_WORD32};
consteval FieldFormat TextField(std::uint16_t size) { return {size, MAP_TEXT}; }

// The same field `count` times.
template <std::size_t count>
consteval std::array<FieldFormat, count> Repeat(FieldFormat field) {
  std::array<FieldFormat, count> fields{};
  fields.fill(field);
  return fields;
}

template <std::size_t... sizes>
consteval auto JoinFields(const std::array<FieldFormat, sizes>&... lists) {
  std::array<FieldFormat, (sizes + ...)> joined{};
  auto* end = joined.begin();
  ((end = std::copy(lists.begin(), lists.end(), end)), ...);
  return joined;
}

// The offset of field `index`, which is also the size of the fields before it.
constexpr std::size_t FieldOffset(std::span<const FieldFormat> fields, std::size_t index) {
  std::size_t offset = 0;
  for (const FieldFormat& field : fields.first(index)) offset += field.size;
  return offset;
}

constexpr std::size_t PayloadSize(std::span<const FieldFormat> fields) {
  return FieldOffset(fields, fields.size());
}

// Numbers, and texts in pieces of 4 bytes: what the writer relies on.
consteval bool IsStorable(std::span<const FieldFormat> fields) {
  return std::ranges::all_of(fields, [](const FieldFormat& field) {
    switch (field.kind) {
      case MAP_TEXT:
        return field.size % 4 == 0 && field.size > 0;
      case MAP_BYTE:
        return field.size == 1;
      case MAP_U16:
      case MAP_S16:
        return field.size == 2;
      case MAP_WORD32:
        return field.size == 4;
    }
    return false;
  });
}

// Writes the record's payload field by field from `address` on. Refused transfers are reported and
// passed over. Returns the address behind the last byte.
std::uint32_t EEprom_WritePayload(int fd, const SectionRecord& record, std::uint32_t address,
                                  std::span<const FieldFormat> fields);

// Reads a payload into a new buffer of the record. Returns 0; or -1 for a version other than 1,
// with "Unsupported data version %d, section type %d\n" and no buffer.
int EEprom_ReadPayload(int fd, SectionRecord& record, std::uint32_t address,
                       std::span<const FieldFormat> fields);

// Writes `text` in pieces of at most 4 bytes, each its own call of EEprom_WriteRaw.
void EEprom_WriteText(int fd, std::uint32_t address, std::span<const std::uint8_t> text);
