// SPDX-License-Identifier: MIT
#include "eeprom/identification.h"

#include <algorithm>
#include <array>

#include "daemon/log.h"
#include "eeprom/i2c_eeprom.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

constexpr std::uint8_t erased_byte = 0xFF;

// What the identification section, just read, says.
int Classify(const SectionRecord& record, std::string_view product) {
  if (record.type != SectionType::identification || record.version != section_version) {
    return identification_empty;
  }
  const auto id = Section_Field(record, identification_id.offset, identification_id.size);
  // A finished one is a text and zeros. It is written last, so a power cut has left this one.
  if (std::ranges::count(id, erased_byte) > 0) return identification_empty;
  if (Field_Text(id) == product.substr(0, id.size())) return identification_match;
  Nv_Print("product id not match\n");
  return identification_mismatch;
}

int ReadAndClassify(int fd, std::string_view product, SectionRecord& record) {
  // A bus that keeps refusing the width refuses it to the section's reader as well, which counts.
  (void)EEprom_SelectByteWidth(fd);
  if (EEprom_ReadSection(fd, record) < 0) return identification_empty;
  Section_PrintHeader(record);
  return Classify(record, product);
}

// Whether header and id read once more as they stand in the record. Only an identification that can
// be read has an id to compare; one that came without it, because the bus refused the width, does
// not read the same.
bool ReadsTheSame(int fd, const SectionRecord& first) {
  SectionRecord again;
  std::array<std::uint8_t, identification_id.size> id;
  EEprom_ReadHeader(fd, again);
  EEprom_ReadBytes(fd, Section_FieldAddress(0, identification_id.offset), id);
  if (again.type != first.type || again.version != first.version ||
      again.next_address != first.next_address) {
    return false;
  }
  const auto first_id = Section_Field(first, identification_id.offset, identification_id.size);
  const bool has_id = first.type == SectionType::identification && first.version == section_version;
  return !has_id || std::ranges::equal(first_id, id);
}

}  // namespace

int Nv_CheckIdentification(int fd, std::string_view product) {
  constexpr int most_checks = 3;
  for (int check = 1;; ++check) {
    SectionRecord record;
    const int answer = ReadAndClassify(fd, product, record);
    // A read that fails looks like any other byte. Believed at once, one of them would cost a
    // factory reset, or the image of a board that was to be restored.
    if (answer == identification_match || check == most_checks || ReadsTheSame(fd, record)) {
      return answer;
    }
  }
}

bool Nv_IsMftBoard(int fd) {
  constexpr std::uint32_t manufacturing_marker = 0x4D465400;
  std::uint32_t marker = 0;
  EEprom_Read(fd, 0, marker, 4);
  return marker == manufacturing_marker;
}
