// SPDX-License-Identifier: MIT
#include "eeprom/identification.h"

#include <cstdio>

#include "eeprom/i2c_eeprom.h"
#include "sections/section.h"

int Nv_CheckIdentification(int fd, std::string_view product) {
  SectionRecord record;
  (void)EEprom_SelectByteWidth(fd);
  const int result = EEprom_ReadSection(fd, record);
  if (result < 0) return identification_empty;
  Section_PrintHeader(record);
  if (record.type != identification_type || record.version != section_version) {
    return identification_empty;
  }
  const auto id = Field_Text(Section_Field(record, 0, identification_id_size));
  if (id != product.substr(0, identification_id_size)) {
    (void)std::puts("product id not match");
    return identification_mismatch;
  }
  return result;
}

bool Nv_IsMftBoard(int fd) {
  constexpr std::uint32_t manufacturing_marker = 0x4D465400;
  std::uint32_t marker = 0;
  EEprom_Read(fd, 0, marker, 4);
  return marker == manufacturing_marker;
}
