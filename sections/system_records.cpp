// SPDX-License-Identifier: MIT
#include "sections/system_records.h"

std::uint32_t EEprom_WriteSsdt(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, ssdt_fields);
}

std::uint32_t EEprom_WriteSssc(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, sssc_fields);
}

std::uint32_t EEprom_WriteSsnt(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, ssnt_fields);
}

int EEprom_ReadSsdt(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, ssdt_fields);
}

int EEprom_ReadSssc(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, sssc_fields);
}

int EEprom_ReadSsnt(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, ssnt_fields);
}
