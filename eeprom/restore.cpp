// SPDX-License-Identifier: MIT
#include "eeprom/restore.h"

#include <array>
#include <cstdio>
#include <set>
#include <string_view>

#include "config/change_propagation.h"
#include "config/list_instances.h"
#include "config/section_list.h"
#include "config/store.h"
#include "eeprom/i2c_eeprom.h"
#include "param/conversion.h"
#include "platform/host.h"
#include "sections/section.h"

namespace {

constexpr std::uint32_t security_type = 2;
constexpr std::uint32_t lens_type = 5;
constexpr std::uint32_t stream_profile_type = 8;
constexpr std::uint32_t memory_card_type = 9;
constexpr std::uint32_t network_storage_type = 10;

// What a restore works on: the open configuration and the section just read.
struct Restore {
  cfg_handle* handle;
  cfg_node* root;
  SectionRecord& record;
  bool changed;  // a value was put into the configuration
};

std::uint32_t PayloadByte(const SectionRecord& record, std::size_t offset) {
  return Field_Number(Section_Field(record, offset, 1));
}

bool HasName(const SectionRecord& record, std::size_t row) {
  (void)row;
  return PayloadByte(record, 0) != 0;
}

bool IsNamedUser(const SectionRecord& record, std::size_t row) {
  constexpr std::size_t users = 5;
  constexpr std::size_t name_size = 32;
  if (row >= users || PayloadByte(record, row * name_size) == 0) return false;
  (void)std::printf("security section j=%d\n", static_cast<int>(row));
  return true;
}

bool RecordsToCard(const SectionRecord& record, std::size_t row) {
  (void)row;
  return PayloadByte(record, 1) == 1;
}

bool RecordsToNetwork(const SectionRecord& record, std::size_t row) {
  (void)row;
  return PayloadByte(record, 396) == 1;
}

// The list whose next instance is created when a path of such a section is missing.
struct MissingInstance {
  std::uint32_t type;
  bool (*is_stored)(const SectionRecord& record, std::size_t row);
  const ListKind& list;
};
constexpr std::array<MissingInstance, 4> missing_instances = {{
    {stream_profile_type, HasName, stream_profile_list},
    {security_type, IsNamedUser, user_list},
    {memory_card_type, RecordsToCard, scheduled_event_list},
    {network_storage_type, RecordsToNetwork, scheduled_event_list},
}};

void AddMissingInstance(const Restore& restore, std::size_t row, const char* path) {
  for (const MissingInstance& missing : missing_instances) {
    if (missing.type == restore.record.type && missing.is_stored(restore.record, row)) {
      Nv_AddListInstance(missing.list, restore.handle, restore.root, path);
    }
  }
}

void PrintValues(const ValueSlot& current, const ValueSlot& stored) {
  (void)std::printf("sVal=%s,sDeviceVal=%s\n", current.data(), stored.data());
}

bool Differs(const ValueSlot& current, const ValueSlot& stored) {
  return stored[0] != '\0' && Slot_Text(current) != Slot_Text(stored);
}

void PutValue(Restore& restore, const char* path, const ValueSlot& current,
              const ValueSlot& stored) {
  (void)cfg_set_param_value_no_eeprom(cfg_find_param_node(restore.root, path), stored.data());
  PrintValues(current, stored);
  restore.changed = true;
}

void PutDifferingValue(Restore& restore, const char* path, const ValueSlot& stored) {
  ValueSlot current;
  if (!Nv_ReadParameter(restore.root, path, current) || !Differs(current, stored)) return;
  PutValue(restore, path, current, stored);
}

void RestorePlainPath(Restore& restore, std::size_t row, const char* path,
                      const ValueSlot& stored) {
  ValueSlot current;
  if (!Nv_ReadParameter(restore.root, path, current)) {
    AddMissingInstance(restore, row, path);
    PutDifferingValue(restore, path, stored);
  } else if (Differs(current, stored) &&
             Nv_FilterRestoredValue(restore.root, restore.record, path, current, stored)) {
    PutValue(restore, path, current, stored);
  }
}

// A path of the network-storage server or of its media entry.
void RestoreNumberedPath(Restore& restore, std::string_view path, const ValueSlot& stored) {
  if (cfg_find_param_node(restore.root, Nv_FormatPath(path, NsIndex).data()) == nullptr) {
    const bool is_stored =
        restore.record.type == network_storage_type && PayloadByte(restore.record, 0) == 1;
    if (!is_stored) return;
    Nv_AddListInstance(network_storage_list, restore.handle, restore.root, nullptr);
    Nv_AddListInstance(media_list, restore.handle, restore.root, nullptr);
  }
  PutDifferingValue(restore, Nv_FormatPath(path, NsIndex).data(), stored);
}

void RestoreRow(Restore& restore, const SectionMap& map, std::size_t row, std::uint32_t offset) {
  const MapRow& map_row = Map_Rows(map)[row];
  if (map_row.path.empty()) return;
  ValueSlots stored{};
  (void)Param_SectionToConfig(restore.record, stored, map_row.key, offset, map.fields[row]);
  const RowPaths paths = Map_SplitPaths(map_row.path);
  for (std::size_t i = paths.count; i-- > 0;) {
    const std::string_view path = paths.path[i];
    if (path.find("%d") == std::string_view::npos) {
      RestorePlainPath(restore, row, Nv_FormatPath(path, 0).data(), stored[i]);
    } else {
      RestoreNumberedPath(restore, path, stored[i]);
    }
  }
}

// Reads the section at the record's address into the list's node and restores its values.
void RestoreSection(Restore& restore, std::size_t position, SectionNode& node) {
  if (EEprom_ReadSection(eeprom_handle, restore.record) != 0) {
    (void)std::printf("%s: Read section error.\n", "Nv_ReadBackCheck");
    return;
  }
  Section_PrintHeader(restore.record);
  node.type = restore.record.type;
  node.address = restore.record.address;
  node.map = &Map_At(position);
  std::uint32_t offset = 0;
  for (std::size_t row = 0; row < Map_Rows(*node.map).size(); ++row) {
    RestoreRow(restore, *node.map, row, offset);
    offset += node.map->fields[row].size;
  }
}

void RestoreChain(Restore& restore) {
  std::set<std::uint32_t> visited;
  SectionList_Free();
  section_list = std::make_unique<SectionNode>();
  SectionNode* node = section_list.get();
  for (std::size_t position = 0;; ++position) {
    visited.insert(restore.record.address);
    RestoreSection(restore, position, *node);
    const std::uint32_t next = restore.record.next_address;
    restore.record = SectionRecord();
    restore.record.address = next;
    if (next == 0) return;
    if (visited.contains(next)) {
      (void)std::printf("%s: Section chain loops at address 0x%x.\n", "Nv_ReadBackCheck", next);
      return;
    }
    node->next = std::make_unique<SectionNode>();
    node = node->next.get();
  }
}

// The lens driver moves the lens when it finds a line in its file.
void RequestLensPosition(const char* what, const ValueSlot& position) {
  std::array<char, 256> command;
  (void)std::printf("%s position change\n", what);
  (void)std::snprintf(command.data(), command.size(),
                      "echo \"%s=%s\" >> /mnt/mtd/lens_position_change", what, position.data());
  (void)Host_RunCommand(command.data());
}

// The parameter that lists what this camera supports; null when everything goes.
const char* SupportedValues(std::string_view path) {
  if (path == "ImageSource.I0.Config.CaptureMode") {
    return "ImageSource.I0.Config.CaptureModeFormatList";
  }
  if (path.find("Video.Resolution") != std::string_view::npos) {
    return "Properties.Image.ResolutionFormat.List";
  }
  return nullptr;
}

}  // namespace

int Nv_ReadBackCheck() {
  const ConfigFile config = Nv_OpenConfig();
  if (config.root == nullptr) return -1;
  SectionRecord record;
  Restore restore = {config.handle.get(), config.root, record, false};
  RestoreChain(restore);
  if (restore.changed) {
    (void)std::puts("save device.conf");
    (void)cfg_save_file(config.handle.get(), device_conf);
  }
  return 0;
}

bool Nv_FilterRestoredValue(cfg_node* root, const SectionRecord& record, const char* path,
                            const ValueSlot& current, const ValueSlot& stored) {
  const std::string_view name = path;
  if (record.type == lens_type && name == "ImageSource.I0.LensControl.ZoomPos") {
    RequestLensPosition("zoom", stored);
    return false;
  }
  if (record.type == lens_type && name == "ImageSource.I0.LensControl.FocusPos") {
    RequestLensPosition("focus", stored);
    return false;
  }
  const char* list = record.type == stream_profile_type ? SupportedValues(name) : nullptr;
  if (list == nullptr) return true;
  PrintValues(current, stored);
  ValueSlot supported;
  if (!Nv_ReadParameter(root, list, supported)) return true;
  if (Slot_Text(supported).find(Slot_Text(stored)) != std::string_view::npos) return true;
  (void)std::puts("update section value");
  (void)Nv_HandleParameterChange(name, Slot_Text(current));
  return false;
}
