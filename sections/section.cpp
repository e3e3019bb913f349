// SPDX-License-Identifier: MIT
#include "sections/section.h"

#include <algorithm>

#include "daemon/log.h"
#include "eeprom/i2c_eeprom.h"
#include "sections/device_records.h"
#include "sections/image_record.h"
#include "sections/recording_records.h"
#include "sections/stream_record.h"
#include "sections/system_records.h"

namespace {

constexpr std::uint32_t version_offset = 4;
constexpr std::uint32_t next_address_offset = 5;

std::uint32_t WriteIdentification(int fd, const SectionRecord& record, std::uint32_t address) {
  const auto [id_offset, id_size] = identification_id;
  const auto [time_offset, time_size] = identification_time;
  const std::string_view id = Field_Text(Section_Field(record, id_offset, id_size));
  const std::uint32_t time = Field_Number(Section_Field(record, time_offset, time_size));
  Nv_Print("id=%.*s,time=%d\n", static_cast<int>(id.size()), id.data(), static_cast<int>(time));
  return EEprom_WritePayload(fd, record, address, IdentificationRecord);
}

// Unlike the other types, an identification of another version is refused without a word.
int ReadIdentification(int fd, SectionRecord& record, std::uint32_t address) {
  if (record.version != section_version) return -1;
  return EEprom_ReadPayload(fd, record, address, IdentificationRecord);
}

struct SectionFormat {
  SectionType type;
  std::size_t payload_size;
  std::uint32_t (*write)(int fd, const SectionRecord& record, std::uint32_t payload_address);
  int (*read)(int fd, SectionRecord& record, std::uint32_t payload_address);
};

// clang-format off
constexpr std::array section_formats = {
    SectionFormat{SectionType::identification, PayloadSize(IdentificationRecord),
                  WriteIdentification, ReadIdentification},
    SectionFormat{SectionType::ssdt, PayloadSize(SsdtRecord), EEprom_WriteSsdt, EEprom_ReadSsdt},
    SectionFormat{SectionType::sssc, PayloadSize(SsscRecord), EEprom_WriteSssc, EEprom_ReadSssc},
    SectionFormat{SectionType::ssnt, PayloadSize(SsntRecord), EEprom_WriteSsnt, EEprom_ReadSsnt},
    SectionFormat{SectionType::lvim, PayloadSize(LvimRecord), EEprom_WriteLvim, EEprom_ReadLvim},
    SectionFormat{SectionType::lvln, PayloadSize(LvlnRecord), EEprom_WriteLvln, EEprom_ReadLvln},
    SectionFormat{SectionType::lvad, PayloadSize(LvadRecord), EEprom_WriteLvad, EEprom_ReadLvad},
    SectionFormat{SectionType::lvdn, PayloadSize(LvdnRecord), EEprom_WriteLvdn, EEprom_ReadLvdn},
    SectionFormat{SectionType::stpf, PayloadSize(StpfRecord), EEprom_WriteStpf, EEprom_ReadStpf},
    SectionFormat{SectionType::srin, PayloadSize(SrinRecord), EEprom_WriteSrin, EEprom_ReadSrin},
    SectionFormat{SectionType::srex, PayloadSize(SrexRecord), EEprom_WriteSrex, EEprom_ReadSrex},
};
// clang-format on

// Null for a type that does not exist.
const SectionFormat* FindFormat(SectionType type) {
  const auto* found = std::ranges::find(section_formats, type, &SectionFormat::type);
  return found == section_formats.end() ? nullptr : found;
}

std::uint32_t ReadNumber(int fd, std::uint32_t address, int count) {
  std::uint32_t value = 0;
  EEprom_Read(fd, address, value, count);
  return value;
}

// A refused transfer has been reported; the rest of the section is written all the same.
void WriteHeader(int fd, const SectionRecord& record) {
  const std::uint32_t address = record.address;
  const auto version = static_cast<std::uint8_t>(record.version & 0xFFU);
  (void)EEprom_WriteDword(fd, address, static_cast<std::uint32_t>(record.type),
                          ByteOrder::big_endian);
  (void)EEprom_WriteByte(fd, address + version_offset, version);
  (void)EEprom_WriteDword(fd, address + next_address_offset, record.next_address,
                          ByteOrder::big_endian);
}

}  // namespace

std::size_t Section_PayloadSize(SectionType type) {
  const SectionFormat* format = FindFormat(type);
  return format == nullptr ? 0 : format->payload_size;
}

bool Section_Prepare(SectionRecord& record) {
  const std::size_t size = Section_PayloadSize(record.type);
  record.data.assign(size, 0);
  if (size == 0) return false;
  record.version = section_version;
  record.next_address = record.address + SECTION_HEADER_SIZE + static_cast<std::uint32_t>(size);
  return true;
}

void Section_ReportUnknownType(const char* function, SectionType type) {
  Nv_Print("%s: Unknown section type %d.\n", function, static_cast<int>(type));
}

void Section_PrintHeader(const SectionRecord& record) {
  Nv_Print("Section Type=0x%x,Section Version=0x%x,next address=0x%x\n",
           static_cast<unsigned>(record.type), record.version, record.next_address);
}

int EEprom_WriteSection(int fd, SectionRecord& record) {
  WriteHeader(fd, record);
  const SectionFormat* format = FindFormat(record.type);
  if (format == nullptr) {
    Section_ReportUnknownType("EEprom_WriteSection", record.type);
    return 0;
  }
  record.address = format->write(fd, record, record.address + SECTION_HEADER_SIZE);
  return 0;
}

void EEprom_ReadHeader(int fd, SectionRecord& record) {
  record.type = SectionType{ReadNumber(fd, record.address, 4)};
  record.version = ReadNumber(fd, record.address + version_offset, 1);
  record.next_address = ReadNumber(fd, record.address + next_address_offset, 4);
}

int EEprom_ReadSection(int fd, SectionRecord& record) {
  const int status = EEprom_SelectByteWidth(fd);
  record.data.clear();
  EEprom_ReadHeader(fd, record);
  const SectionFormat* format = FindFormat(record.type);
  if (format == nullptr) {
    Section_ReportUnknownType("EEprom_ReadSection", record.type);
    return -1;
  }
  const int result = format->read(fd, record, record.address + SECTION_HEADER_SIZE);
  if (result != 0 || record.type != SectionType::identification) return result;
  if (status >= 0) return 0;  // a driver may answer with the width that was selected before
  record.data.clear();        // a failed read leaves no payload
  return -1;
}
