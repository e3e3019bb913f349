// SPDX-License-Identifier: MIT
#include "eeprom/backup.h"

#include "config/store.h"
#include "eeprom/i2c_eeprom.h"
#include "param/conversion.h"
#include "platform/host.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

bool IsLastInChain(std::size_t position) { return Map_At(position + 1).row_count < 0; }

// The values of a row's paths; a row without paths and a missing parameter give empty text.
ValueSlots ReadRow(cfg_node* root, std::string_view row_paths) {
  ValueSlots slots{};
  const RowPaths paths = Map_SplitPaths(row_paths);
  for (std::size_t i = paths.count; i-- > 0;) {
    const PathText path = Nv_FormatPath(paths.path[i], NsIndex);
    slots[i] = Nv_NodeValue(cfg_find_param_node(root, path.data()));
  }
  return slots;
}

// Fills the record's payload from the rows of a map; without a configuration, with what empty
// values make.
void ConvertRows(const SectionMap& map, SectionRecord& record, cfg_node* root) {
  std::size_t offset = 0;
  for (const Field& field : Map_Rows(map)) {
    ValueSlots slots{};
    if (root != nullptr) slots = ReadRow(root, Map_Paths(map, field).data());
    // The types of the section map all convert.
    (void)Param_ConfigToSection(slots, field.key, record, offset, field.format);
    offset += field.format.size;
  }
}

}  // namespace

int Nv_InitEEprom() {
  const ConfigFile config = Nv_OpenConfig();
  if (config.root == nullptr) return -1;
  SectionRecord record;
  for (std::size_t position = 0; section_maps[position].row_count >= 0; ++position) {
    (void)Nv_InitSection(config.root, position, section_maps[position].type, record);
  }
  return Nv_WriteIdentification();
}

int Nv_InitSection(cfg_node* root, std::size_t position, SectionType type, SectionRecord& record) {
  record.type = type;
  if (!Section_Prepare(record)) Section_ReportUnknownType("Nv_InitSection", type);
  if (type == SectionType::identification) {
    record.address = record.next_address;
    return 0;
  }
  ConvertRows(Map_At(position), record, root);
  if (IsLastInChain(position)) record.next_address = 0;
  // Transfers that are refused have been reported one by one; the rest of the image goes on, since
  // an image with a gap restores more than none.
  (void)EEprom_WriteSection(eeprom_handle, record);
  record.data.clear();
  return 0;
}

int Nv_WriteIdentification() {
  SectionRecord record;
  record.type = SectionType::identification;
  (void)Section_Prepare(record);
  const auto [id_offset, id_size] = identification_id;
  const auto [time_offset, time_size] = identification_time;
  const auto id = Section_Field(record, id_offset, id_size);
  // All 32 bytes of a longer product number are used, so this is no terminated text.
  std::copy_n(product_number.begin(), id.size(), id.begin());
  Field_SetNumber(Section_Field(record, time_offset, time_size), Host_Time());
  (void)EEprom_WriteSection(eeprom_handle, record);
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
  ConvertRows(*node.map, record, nullptr);
  if (&node == &section_list.back()) record.next_address = 0;
  (void)EEprom_WriteSection(eeprom_handle, record);
}
