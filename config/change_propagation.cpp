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

namespace {

constexpr int stream_profiles = 4;
constexpr std::string_view placeholder = "%d";

bool HasPlaceholder(std::string_view path) {
  return path.find(placeholder) != std::string_view::npos;
}

// Only the network-storage server and its media entry are numbered lists that the EEPROM keeps.
bool IsNumberedList(std::string_view path) {
  return path.starts_with("Event.Server") || path.starts_with("Event.Media");
}

// Whether a path of the table names the parameter. A numbered path of another list is compared with
// what the last formatting left behind.
bool Names(std::string_view path, std::string_view key, PathText& formatted) {
  if (!HasPlaceholder(path)) return path == key;
  if (IsNumberedList(path)) formatted = Nv_FormatPath(path, NsIndex);
  return key == formatted.data();
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

void ReportMatch(std::string_view path) {
  if (debug_flag != 0) {
    Nv_Print("## NVD : link list node=%.*s\n", static_cast<int>(path.size()), path.data());
  }
  (void)std::fflush(stdout);  // a trace shows what led to the transfer behind it
}

// Puts a lowered setting into the configuration and into the EEPROM.
void LowerSetting(cfg_node* root, const PathText& path, const ValueSlot& value) {
  // The parameter has just been read, and a number fits everywhere.
  (void)cfg_set_param_value(cfg_find_param_node(root, path.data()), value.data());
  (void)Nv_HandleParameterChange(path.data(), Slot_Text(value));
}

bool ClampResolutions(cfg_node* root) {
  std::array<int, 2> largest{};
  const ValueSlot limit = Nv_ParameterValue(root, "ImageSource.I0.Config.MaxResolution");
  if (Text_ScanInts(Slot_Text(limit), "%dx%d", largest.data()) != 2) return false;
  bool changed = false;
  for (int i = 0; i < stream_profiles; ++i) {
    const PathText path = Nv_FormatPath("StreamProfile.I%d.Video.Resolution", i);
    ValueSlot value = Nv_ParameterValue(root, path.data());
    // Only the widths are compared, so one is enough.
    std::array<int, 2> size{};
    const int numbers = Text_ScanInts(Slot_Text(value), "%dx%d", size.data());
    if (numbers < 1 || size[0] <= largest[0]) continue;
    Text_Format(value, "%dx%d", largest[0], largest[1]);
    LowerSetting(root, path, value);
    changed = true;
  }
  return changed;
}

bool ClampFrameRates(cfg_node* root) {
  std::array<int, 3> mode{};  // width, height, frames per second
  const ValueSlot capture_mode = Nv_ParameterValue(root, "ImageSource.I0.Config.CaptureMode");
  if (Text_ScanInts(Slot_Text(capture_mode), "%dx%d@%d", mode.data()) != 3) return false;
  bool changed = false;
  for (int i = 0; i < stream_profiles; ++i) {
    const PathText path = Nv_FormatPath("StreamProfile.I%d.Video.FPS", i);
    ValueSlot value;
    if (!Nv_ReadParameter(root, path.data(), value)) continue;
    if (Text_ToInt(Slot_Text(value)) <= mode[2]) continue;
    Slot_SetNumber(value, mode[2]);
    LowerSetting(root, path, value);
    changed = true;
  }
  return changed;
}

}  // namespace

int Nv_HandleParameterChange(std::string_view key, std::string_view value) {
  PathText formatted{};
  SectionRecord record;
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    const auto rows = Map_Rows(*node->map);
    for (std::size_t row = 0; row < rows.size(); ++row) {
      const RowPaths paths = Map_SplitPaths(rows[row].paths);
      for (std::size_t i = paths.count; i-- > 0;) {
        if (!Names(paths.path[i], key, formatted)) continue;
        ReportMatch(rows[row].paths);
        record.type = node->type;
        // A section of a type that has no rows of its own has been reported.
        (void)Nv_UpdateSectionData(key, value, row, record, *node);
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
  const auto& [row_key, format, row_paths] = node.map->fields[row];
  const std::size_t offset = FieldOffset(node.map->fields, row);

  ValueSlots slots{};
  const RowPaths paths = Map_SplitPaths(row_paths);
  if (paths.count < 2) {
    Slot_SetText(slots[0], value);
  } else {
    for (std::size_t i = paths.count; i-- > 0;) FillSlot(paths.path[i], key, value, slots[i]);
  }
  // The type is one that converts; Section_Prepare has seen to that.
  (void)Param_ConfigToSection(slots, row_key, record, offset, format);
  EEprom_WriteField(eeprom_handle, Section_FieldAddress(node.address, offset), format.kind,
                    Section_Field(record, offset, format.size));
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
