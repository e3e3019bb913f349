// SPDX-License-Identifier: MIT
#include "sections/field_codec.h"

#include <algorithm>
#include <cstdio>

#include "eeprom/i2c_eeprom.h"

namespace {

constexpr int big_endian = 7;

void WriteField(int fd, std::uint32_t address, FieldKind kind,
                std::span<const std::uint8_t> bytes) {
  switch (kind) {
    case MAP_TEXT:
      EEprom_WriteText(fd, address, bytes);
      return;
    case MAP_BYTE:
      (void)EEprom_WriteByte(fd, address, bytes[0]);
      return;
    case MAP_U16:
    case MAP_S16:
      (void)EEprom_WriteWord(fd, address, Field_Number(bytes), big_endian);
      return;
    case MAP_WORD32:
      (void)EEprom_WriteDword(fd, address, Field_Number(bytes), big_endian);
      return;
  }
}

}  // namespace

void EEprom_WriteText(int fd, std::uint32_t address, std::span<const std::uint8_t> text) {
  while (!text.empty()) {
    const std::size_t piece = std::min<std::size_t>(text.size(), 4);
    (void)EEprom_WriteRaw(fd, address, text.first(piece));
    address += static_cast<std::uint32_t>(piece);
    text = text.subspan(piece);
  }
}

std::uint32_t EEprom_WritePayload(int fd, const SectionRecord& record, std::uint32_t address,
                                  std::span<const FieldFormat> fields) {
  std::size_t offset = 0;
  for (const FieldFormat& field : fields) {
    const auto bytes = Section_Field(record, offset, field.size);
    if (!bytes.empty()) {
      WriteField(fd, address + static_cast<std::uint32_t>(offset), field.kind, bytes);
    }
    offset += field.size;
  }
  return address + static_cast<std::uint32_t>(offset);
}

int EEprom_ReadPayload(int fd, SectionRecord& record, std::uint32_t address,
                       std::span<const FieldFormat> fields) {
  if (record.version != 1) {
    (void)std::printf("Unsupported data version %d, section type %d\n",
                      static_cast<int>(record.version), static_cast<int>(record.type));
    return -1;
  }
  record.data.assign(PayloadSize(fields), 0);
  std::size_t offset = 0;
  for (const FieldFormat& field : fields) {
    const auto bytes = Section_Field(record, offset, field.size);
    EEprom_ReadBytes(fd, address + static_cast<std::uint32_t>(offset), bytes);
    if (field.kind != MAP_TEXT) std::ranges::reverse(bytes);
    offset += field.size;
  }
  return 0;
}
