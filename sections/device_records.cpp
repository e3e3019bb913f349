// SPDX-License-Identifier: MIT
#include "sections/device_records.h"

std::uint32_t EEprom_WriteLvln(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, lvln_fields);
}

std::uint32_t EEprom_WriteLvad(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, lvad_fields);
}

std::uint32_t EEprom_WriteLvdn(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, lvdn_fields);
}

int EEprom_ReadLvln(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, lvln_fields);
}

int EEprom_ReadLvad(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, lvad_fields);
}

int EEprom_ReadLvdn(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, lvdn_fields);
}
