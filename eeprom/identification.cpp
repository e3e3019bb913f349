// SPDX-License-Identifier: MIT
#include "eeprom/identification.h"

#include "daemon/log.h"
#include "eeprom/i2c_eeprom.h"
#include "sections/section.h"

int Nv_CheckIdentification(int fd, std::string_view product) {
  SectionRecord record;
  (void)EEprom_SelectByteWidth(fd);
  const int result = EEprom_ReadSection(fd, record);
  if (result < 0) return identification_empty;
  Section_PrintHeader(record);
  if (record.type != SectionType::identification || record.version != section_version) {
    return identification_empty;
  }
  const auto id =
      Field_Text(Section_Field(record, identification_id.offset, identification_id.size));
  if (id != product.substr(0, identification_id.size)) {
    Nv_Print("product id not match\n");
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
