// SPDX-License-Identifier: MIT
#include "sections/image_record.h"

std::uint32_t EEprom_WriteLvim(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, lvim_fields);
}

int EEprom_ReadLvim(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, lvim_fields);
}
