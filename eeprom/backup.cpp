// SPDX-License-Identifier: MIT
#include "eeprom/backup.h"

#include "config/store.h"
#include "eeprom/i2c_eeprom.h"
#include "param/conversion.h"
#include "platform/host.h"
#include "sections/section.h"

namespace {

bool IsLastInChain(std::size_t position) { return Map_At(position + 1).row_count < 0; }

// The values of a row's paths; a row without paths and a missing parameter give empty text.
ValueSlots ReadRow(cfg_node* root, std::string_view row_paths) {
  ValueSlots slots{};
  const RowPaths paths = Map_SplitPaths(row_paths);
  for (std::size_t i = paths.count; i-- > 0;) {
    slots[i] = Nv_ParameterValue(root, Nv_FormatPath(paths.path[i], NsIndex).data());
  }
  return slots;
}

}  // namespace

void Image_ConvertRows(const SectionMap& map, SectionRecord& record, cfg_node* root) {
  std::size_t offset = 0;
  for (const auto& [key, format, paths] : Map_Rows(map)) {
    ValueSlots slots{};
    if (root != nullptr) slots = ReadRow(root, paths);
    // The types of the section map all convert.
    (void)Param_ConfigToSection(slots, key, record, offset, format);
    offset += format.size;
  }
}

void Image_WriteSection(int fd, cfg_node* root, std::size_t position, SectionType type,
                        SectionRecord& record) {
  record.type = type;
  if (!Section_Prepare(record)) Section_ReportUnknownType("Nv_InitSection", type);
  if (type == SectionType::identification) {
    record.address = record.next_address;
    return;
  }
  Image_ConvertRows(Map_At(position), record, root);
  if (IsLastInChain(position)) record.next_address = 0;
  // Transfers that are refused have been reported one by one; the rest of the image goes on, since
  // an image with a gap restores more than none.
  (void)EEprom_WriteSection(fd, record);
  record.data.clear();
}

void Image_WriteSections(int fd, cfg_node* root) {
  SectionRecord record;
  for (std::size_t position = 0; section_maps[position].row_count >= 0; ++position) {
    Image_WriteSection(fd, root, position, section_maps[position].type, record);
  }
}

void Image_WriteIdentification(int fd, const ValueSlot& product, std::uint32_t time) {
  SectionRecord record;
  record.type = SectionType::identification;
  (void)Section_Prepare(record);
  const auto [id_offset, id_size] = identification_id;
  const auto [time_offset, time_size] = identification_time;
  const auto id = Section_Field(record, id_offset, id_size);
  // All 32 bytes of a longer product number are used, so this is no terminated text.
  std::copy_n(product.begin(), id.size(), id.begin());
  Field_SetNumber(Section_Field(record, time_offset, time_size), time);
  (void)EEprom_WriteSection(fd, record);
}

int Nv_InitEEprom() {
  const ConfigFile config = Nv_OpenConfig();
  if (config.root == nullptr) return -1;
  Image_WriteSections(eeprom_handle, config.root);
  return Nv_WriteIdentification();
}

int Nv_InitSection(cfg_node* root, std::size_t position, SectionType type, SectionRecord& record) {
  Image_WriteSection(eeprom_handle, root, position, type, record);
  return 0;
}

int Nv_WriteIdentification() {
  Image_WriteIdentification(eeprom_handle, product_number, Host_Time());
  return 0;
}

void Nv_CleanSection(const SectionNode& node) {
  SectionRecord record;
  record.type = node.type;
  record.address = node.address;
  if (node.type != SectionType::stpf && node.type != SectionType::srex) {
    Section_ReportUnknownType("Nv_CleanSection", node.type);
    return;
  }
  (void)Section_Prepare(record);
  Image_ConvertRows(*node.map, record, nullptr);
  if (!node.next) record.next_address = 0;
  (void)EEprom_WriteSection(eeprom_handle, record);
}
