// SPDX-License-Identifier: MIT
#include "sections/stream_record.h"

std::uint32_t EEprom_WriteStpf(int fd, const SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_WritePayload(fd, record, payload_address, stpf_fields);
}

int EEprom_ReadStpf(int fd, SectionRecord& record, std::uint32_t payload_address) {
  return EEprom_ReadPayload(fd, record, payload_address, stpf_fields);
}
