// SPDX-License-Identifier: MIT
#include "config/change_propagation.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "config/store.h"
#include "daemon/log.h"
#include "eeprom/i2c_eeprom.h"
#include "param/conversion.h"
#include "platform/host.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

constexpr int stream_profiles = 4;
constexpr std::string_view placeholder = "%d";

bool HasPlaceholder(std::string_view path) {
  return path.find(placeholder) != std::string_view::npos;
}

// Only the network-storage server and its media entry are numbered lists that the EEPROM keeps.
bool IsKeptList(std::string_view path) {
  return HasPlaceholder(path) &&
         (path.starts_with("Event.Server") || path.starts_with("Event.Media"));
}

// Whether a path of the table names the parameter.
bool Names(std::string_view path, std::string_view key, const PathText& last_formatted) {
  return HasPlaceholder(path) ? key == last_formatted.data() : key == path;
}

// The value of one path of a row that has several: the new one, or the parameter's current one.
void FillSlot(std::string_view path, std::string_view key, std::string_view value,
              ValueSlot& slot) {
  const PathText formatted = Nv_FormatPath(path, NsIndex);
  const bool numbered = HasPlaceholder(path);
  if (numbered) Nv_Print("sNode=%s\n", formatted.data());
  if (std::string_view(formatted.data()).find(key) != std::string_view::npos) {
    Slot_SetText(slot, value);
    return;
  }
  Nv_QueryParameter(formatted.data(), slot);
  if (numbered) Nv_Print("sVal=%s\n", slot.data());
}

void ReportMatch(const PathText& row_paths) {
  if (debug_flag != 0) Nv_Print("## NVD : link list node=%s\n", row_paths.data());
  (void)std::fflush(stdout);  // a trace shows what led to the transfer behind it
}

// Puts a lowered setting into the configuration and into the EEPROM.
void LowerSetting(cfg_node* node, const PathText& path, const ValueSlot& value) {
  (void)cfg_set_param_value(node, value.data());  // a number, which fits everywhere
  (void)Nv_HandleParameterChange(path.data(), Slot_Text(value));
}

bool ClampResolutions(cfg_node* root) {
  std::array<int, 2> largest{};
  cfg_node* limit_node = cfg_find_param_node(root, "ImageSource.I0.Config.MaxResolution");
  const ValueSlot limit = Nv_NodeValue(limit_node);
  if (Text_ScanInts(Slot_Text(limit), "%dx%d", largest.data()) != 2) return false;
  bool changed = false;
  for (int i = 0; i < stream_profiles; ++i) {
    const PathText path = Nv_FormatPath("StreamProfile.I%d.Video.Resolution", i);
    cfg_node* node = cfg_find_param_node(root, path.data());
    ValueSlot value = Nv_NodeValue(node);
    // Only the widths are compared, so one is enough.
    std::array<int, 2> size{};
    const int numbers = Text_ScanInts(Slot_Text(value), "%dx%d", size.data());
    if (numbers < 1 || size[0] <= largest[0]) continue;
    Text_Format(value, "%dx%d", largest[0], largest[1]);
    LowerSetting(node, path, value);
    changed = true;
  }
  return changed;
}

bool ClampFrameRates(cfg_node* root) {
  std::array<int, 3> mode{};  // width, height, frames per second
  cfg_node* mode_node = cfg_find_param_node(root, "ImageSource.I0.Config.CaptureMode");
  const ValueSlot capture_mode = Nv_NodeValue(mode_node);
  if (Text_ScanInts(Slot_Text(capture_mode), "%dx%d@%d", mode.data()) != 3) return false;
  bool changed = false;
  for (int i = 0; i < stream_profiles; ++i) {
    const PathText path = Nv_FormatPath("StreamProfile.I%d.Video.FPS", i);
    cfg_node* node = cfg_find_param_node(root, path.data());
    ValueSlot value = Nv_NodeValue(node);
    if (node == nullptr || Text_ToInt(Slot_Text(value)) <= mode[2]) continue;
    Slot_SetNumber(value, mode[2]);
    LowerSetting(node, path, value);
    changed = true;
  }
  return changed;
}

}  // namespace

int Nv_HandleParameterChange(std::string_view key, std::string_view value) {
  // Carried from row to row: a numbered path of another list than those that the EEPROM keeps is
  // compared with what was formatted before it. The table has no such path, and one that joins it
  // gets the notices that it has always got.
  PathText last_formatted{};
  SectionRecord record;
  for (const SectionNode& node : section_list) {
    const auto rows = Map_Rows(*node.map);
    for (std::size_t row = 0; row < rows.size(); ++row) {
      const PathText row_paths = Map_Paths(*node.map, rows[row]);
      const RowPaths paths = Map_SplitPaths(row_paths.data());
      for (std::size_t i = paths.count; i-- > 0;) {
        const std::string_view path = paths.path[i];
        if (IsKeptList(path)) last_formatted = Nv_FormatPath(path, NsIndex);
        if (!Names(path, key, last_formatted)) continue;
        ReportMatch(row_paths);
        record.type = node.type;
        // A section of a type that has no rows of its own has been reported.
        (void)Nv_UpdateSectionData(key, value, row, record, node);
      }
    }
  }
  return 0;
}

int Nv_UpdateSectionData(std::string_view key, std::string_view value, std::size_t row,
                         SectionRecord& record, const SectionNode& node) {
  if (record.type == SectionType::identification || !Section_Prepare(record)) {
    Section_ReportUnknownType("Nv_UpdateSectionData", record.type);
    return -1;
  }
  const Field& field = node.map->fields[row];
  const std::size_t offset = FieldOffset(node.map->fields, row);

  ValueSlots slots{};
  const PathText row_paths = Map_Paths(*node.map, field);
  const RowPaths paths = Map_SplitPaths(row_paths.data());
  if (paths.count < 2) {
    Slot_SetText(slots[0], value);
  } else {
    for (std::size_t i = paths.count; i-- > 0;) FillSlot(paths.path[i], key, value, slots[i]);
  }
  // The type is one that converts; Section_Prepare has seen to that.
  (void)Param_ConfigToSection(slots, field.key, record, offset, field.format);
  EEprom_WriteField(eeprom_handle, Section_FieldAddress(node.address, offset), field.format.kind,
                    Section_Field(record, offset, field.format.size));
  record = SectionRecord();
  Nv_TouchIdentification();
  return 0;
}

void Nv_TouchIdentification() {
  (void)EEprom_WriteValue(eeprom_handle, Section_FieldAddress(0, identification_time.offset),
                          Host_Time(), 4, ByteOrder::big_endian);
}

int Nv_ClampStreamSettings() {
  const ConfigFile config = Nv_OpenConfig();
  if (config.root == nullptr) return -1;
  const bool resolutions_changed = ClampResolutions(config.root);
  const bool frame_rates_changed = ClampFrameRates(config.root);
  if (resolutions_changed || frame_rates_changed) {
    (void)cfg_save_file(config.handle.get(), device_conf);
  }
  return 0;
}
