// SPDX-License-Identifier: MIT
#include "sections/recording_records.h"

std::uint32_t EEprom_WriteSrin(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, srin_fields);
}

std::uint32_t EEprom_WriteSrex(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, srex_fields);
}

int EEprom_ReadSrin(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, srin_fields);
}

int EEprom_ReadSrex(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, srex_fields);
}
