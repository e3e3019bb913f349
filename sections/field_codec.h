// SPDX-License-Identifier: MIT
// Payloads on the bus: one writer and one reader walk a section's fields.
#pragma once

#include "sections/field.h"
#include "sections/section_record.h"

// Writes a text in pieces of at most 4 bytes, each its own call of EEprom_WriteRaw.
void EEprom_WriteText(int fd, std::uint32_t address, std::span<const std::uint8_t> text);

// Writes one field as its kind lies in the EEPROM; nothing for no bytes. A number comes low byte
// first and has at most 4 bytes.
void EEprom_WriteField(int fd, std::uint32_t address, FieldKind kind,
                       std::span<const std::uint8_t> bytes);

// Writes the record's payload field by field from `address` on. Refused transfers are reported and
// passed over. Returns the address behind the last byte.
std::uint32_t EEprom_WritePayload(int fd, const SectionRecord& record, std::uint32_t address,
                                  std::span<const Field> fields);

// Reads a payload into a new buffer of the record. Returns 0; or -1 for a version other than 1,
// with "Unsupported data version %d, section type %d\n" and no buffer.
int EEprom_ReadPayload(int fd, SectionRecord& record, std::uint32_t address,
                       std::span<const Field> fields);

// The same for one list of fields; each record's header gives them a name.
template <const auto& fields>
std::uint32_t EEprom_WriteFields(int fd, const SectionRecord& record, std::uint32_t address) {
  return EEprom_WritePayload(fd, record, address, fields);
}

template <const auto& fields>
int EEprom_ReadFields(int fd, SectionRecord& record, std::uint32_t address) {
  return EEprom_ReadPayload(fd, record, address, fields);
}
