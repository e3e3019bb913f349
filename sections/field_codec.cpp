// SPDX-License-Identifier: MIT
#include "sections/field_codec.h"

#include "daemon/log.h"
#include "eeprom/i2c_eeprom.h"

// A refused transfer has been reported, and what comes behind it is written all the same: an image
// that lacks two bytes is worth more than one that lacks the rest.

void EEprom_WriteText(int fd, std::uint32_t address, std::span<const std::uint8_t> text) {
  while (!text.empty()) {
    const std::size_t piece = std::min<std::size_t>(text.size(), 4);
    (void)EEprom_WriteRaw(fd, address, text.first(piece));
    address += static_cast<std::uint32_t>(piece);
    text = text.subspan(piece);
  }
}

void EEprom_WriteField(int fd, std::uint32_t address, FieldKind kind,
                       std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return;
  if (kind == MAP_TEXT) return EEprom_WriteText(fd, address, bytes);
  (void)EEprom_WriteValue(fd, address, Field_Number(bytes), static_cast<int>(bytes.size()),
                          ByteOrder::big_endian);
}

std::uint32_t EEprom_WritePayload(int fd, const SectionRecord& record, std::uint32_t address,
                                  std::span<const Field> fields) {
  std::size_t offset = 0;
  for (const auto& [key, format, paths] : fields) {
    const auto bytes = Section_Field(record, offset, format.size);
    EEprom_WriteField(fd, address + static_cast<std::uint32_t>(offset), format.kind, bytes);
    offset += format.size;
  }
  return address + static_cast<std::uint32_t>(offset);
}

int EEprom_ReadPayload(int fd, SectionRecord& record, std::uint32_t address,
                       std::span<const Field> fields) {
  if (record.version != section_version) {
    Nv_Print("Unsupported data version %d, section type %d\n", static_cast<int>(record.version),
             static_cast<int>(record.type));
    return -1;
  }
  record.data.assign(PayloadSize(fields), 0);
  std::size_t offset = 0;
  for (const auto& [key, format, paths] : fields) {
    const auto bytes = Section_Field(record, offset, format.size);
    EEprom_ReadBytes(fd, address + static_cast<std::uint32_t>(offset), bytes);
    if (format.kind != MAP_TEXT) std::ranges::reverse(bytes);
    offset += format.size;
  }
  return 0;
}
