// SPDX-License-Identifier: MIT
#include "sections/section.h"

#include <algorithm>
#include <cstdio>

#include "eeprom/i2c_eeprom.h"
#include "sections/device_records.h"
#include "sections/image_record.h"
#include "sections/recording_records.h"
#include "sections/stream_record.h"
#include "sections/system_records.h"

namespace {

constexpr int big_endian = 7;
constexpr std::uint32_t version_offset = 4;
constexpr std::uint32_t next_address_offset = 5;

std::uint32_t WriteIdentification(int fd, const SectionRecord& record, std::uint32_t address) {
  const auto id = Section_Field(record, 0, identification_id_size);
  const auto time = Section_Field(record, identification_id_size, 4);
  const std::string_view text = Field_Text(id);
  (void)std::printf("id=%.*s,time=%d\n", static_cast<int>(text.size()), text.data(),
                    static_cast<int>(Field_Number(time)));
  return EEprom_WritePayload(fd, record, address, identification_fields);
}

// Unlike the other types, an identification of another version is refused without a word.
int ReadIdentification(int fd, SectionRecord& record, std::uint32_t address) {
  if (record.version != section_version) return -1;
  return EEprom_ReadPayload(fd, record, address, identification_fields);
}

struct SectionType {
  std::uint32_t type;
  std::size_t payload_size;
  std::uint32_t (*write)(int fd, const SectionRecord& record, std::uint32_t payload_address);
  int (*read)(int fd, SectionRecord& record, std::uint32_t payload_address);
};

// clang-format off
constexpr std::array section_types = {
    SectionType{identification_type, PayloadSize(identification_fields), WriteIdentification, ReadIdentification},
    SectionType{1,  PayloadSize(ssdt_fields), EEprom_WriteSsdt, EEprom_ReadSsdt},
    SectionType{2,  PayloadSize(sssc_fields), EEprom_WriteSssc, EEprom_ReadSssc},
    SectionType{3,  PayloadSize(ssnt_fields), EEprom_WriteSsnt, EEprom_ReadSsnt},
    SectionType{4,  PayloadSize(lvim_fields), EEprom_WriteLvim, EEprom_ReadLvim},
    SectionType{5,  PayloadSize(lvln_fields), EEprom_WriteLvln, EEprom_ReadLvln},
    SectionType{6,  PayloadSize(lvad_fields), EEprom_WriteLvad, EEprom_ReadLvad},
    SectionType{7,  PayloadSize(lvdn_fields), EEprom_WriteLvdn, EEprom_ReadLvdn},
    SectionType{8,  PayloadSize(stpf_fields), EEprom_WriteStpf, EEprom_ReadStpf},
    SectionType{9,  PayloadSize(srin_fields), EEprom_WriteSrin, EEprom_ReadSrin},
    SectionType{10, PayloadSize(srex_fields), EEprom_WriteSrex, EEprom_ReadSrex},
};
// clang-format on

const SectionType* FindType(std::uint32_t type) {
  const auto* found = std::ranges::find(section_types, type, &SectionType::type);
  return found == section_types.end() ? nullptr : found;
}

std::uint32_t ReadNumber(int fd, std::uint32_t address, int count) {
  std::uint32_t value = 0;
  EEprom_Read(fd, address, value, count);
  return value;
}

}  // namespace

std::size_t Section_PayloadSize(std::uint32_t type) {
  const SectionType* section_type = FindType(type);
  return section_type == nullptr ? 0 : section_type->payload_size;
}

bool Section_Prepare(SectionRecord& record) {
  const std::size_t size = Section_PayloadSize(record.type);
  record.data.assign(size, 0);
  if (size == 0) return false;
  record.version = section_version;
  record.next_address = record.address + SECTION_HEADER_SIZE + static_cast<std::uint32_t>(size);
  return true;
}

void Section_ReportUnknownType(const char* function, std::uint32_t type) {
  (void)std::printf("%s: Unknown section type %d.\n", function, static_cast<int>(type));
}

void Section_PrintHeader(const SectionRecord& record) {
  (void)std::printf("Section Type=0x%x,Section Version=0x%x,next address=0x%x\n", record.type,
                    record.version, record.next_address);
}

int EEprom_WriteSection(int fd, SectionRecord& record) {
  const std::uint32_t address = record.address;
  (void)EEprom_WriteDword(fd, address, record.type, big_endian);
  (void)EEprom_WriteByte(fd, address + version_offset,
                         static_cast<std::uint8_t>(record.version & 0xFFU));
  (void)EEprom_WriteDword(fd, address + next_address_offset, record.next_address, big_endian);

  const SectionType* section_type = FindType(record.type);
  if (section_type == nullptr) {
    Section_ReportUnknownType("EEprom_WriteSection", record.type);
    return 0;
  }
  record.address = section_type->write(fd, record, address + SECTION_HEADER_SIZE);
  return 0;
}

int EEprom_ReadSection(int fd, SectionRecord& record) {
  const std::uint32_t address = record.address;
  const int status = EEprom_SelectByteWidth(fd);
  record.data.clear();
  record.type = ReadNumber(fd, address, 4);
  record.version = ReadNumber(fd, address + version_offset, 1);
  record.next_address = ReadNumber(fd, address + next_address_offset, 4);

  const SectionType* section_type = FindType(record.type);
  if (section_type == nullptr) {
    Section_ReportUnknownType("EEprom_ReadSection", record.type);
    return -1;
  }
  const int result = section_type->read(fd, record, address + SECTION_HEADER_SIZE);
  if (result != 0 || record.type != identification_type) return result;
  if (status < 0) record.data.clear();  // a failed read leaves no payload
  return status;
}
