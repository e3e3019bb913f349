// SPDX-License-Identifier: MIT
#include "eeprom/restore.h"

#include <array>
#include <string_view>

#include "config/change_propagation.h"
#include "config/list_instances.h"
#include "config/section_list.h"
#include "config/store.h"
#include "daemon/log.h"
#include "eeprom/i2c_eeprom.h"
#include "param/conversion.h"
#include "platform/shell.h"
#include "sections/chain.h"
#include "sections/recording_records.h"
#include "sections/section.h"
#include "sections/stream_record.h"
#include "sections/system_records.h"

namespace {

// Stored values on their way into a configuration, section by section.
struct Restore {
  cfg_handle* device;
  cfg_node* root;
  SectionRecord record = {};  // the section at hand, just read
  bool changed = false;       // a value was put into the configuration
};

// The first byte of a field, 0 when the payload at hand does not hold it. The payload is the stored
// type's, whatever section the chain has in its place.
std::uint32_t FirstByte(const SectionRecord& record, FieldPlace field) {
  return Field_Number(Section_Field(record, field.offset, 1));
}

bool HasName(const SectionRecord& record, std::size_t /*row*/) {
  return FirstByte(record, PlaceOf(StpfRecord, "stpf_pf_name")) != 0;
}

// The users' names are the section's first rows.
bool IsNamedUser(const SectionRecord& record, std::size_t row) {
  constexpr std::size_t last_user = FieldIndex(SsscRecord, {"sssc_username_", 5});
  if (row > last_user) return false;
  if (FirstByte(record, {FieldOffset(SsscRecord, row), 1}) == 0) return false;
  Nv_Print("security section j=%d\n", static_cast<int>(row));
  return true;
}

bool RecordsToCard(const SectionRecord& record, std::size_t /*row*/) {
  return FirstByte(record, PlaceOf(SrinRecord, "srin_rec_continuous")) == 1;
}

bool RecordsToNetwork(const SectionRecord& record, std::size_t /*row*/) {
  return FirstByte(record, PlaceOf(SrexRecord, "srex_rec_continuous")) == 1;
}

// The list whose next instance is created when a path of such a section is missing.
struct MissingInstance {
  SectionType type;                                                 // the stored section's
  bool (*is_stored)(const SectionRecord& record, std::size_t row);  // whether it holds an instance
  const ListKind& list;                                             // where the instance belongs
};
constexpr std::array<MissingInstance, 4> missing_instances = {{
    {SectionType::stpf, HasName, stream_profile_list},
    {SectionType::sssc, IsNamedUser, user_list},
    {SectionType::srin, RecordsToCard, scheduled_event_list},
    {SectionType::srex, RecordsToNetwork, scheduled_event_list},
}};

// A path that holds no "%d" names its instance itself, whatever the row: an instance is tried for
// each missing path of such a section, and the list's function decides by the path.
void AddMissingInstance(const Restore& restore, std::size_t row, const char* path) {
  for (const MissingInstance& missing : missing_instances) {
    if (missing.type == restore.record.type && missing.is_stored(restore.record, row)) {
      Nv_AddListInstance(missing.list, restore.device, restore.root, path);
    }
  }
}

// The network-storage server and its media entry come as a pair; the server's index is NsIndex from
// then on.
void AddNetworkStorage(const Restore& restore) {
  if (restore.record.type != SectionType::srex) return;
  if (FirstByte(restore.record, PlaceOf(SrexRecord, "srex_rec_en")) != 1) return;
  Nv_AddListInstance(network_storage_list, restore.device, restore.root, nullptr);
  Nv_AddListInstance(media_list, restore.device, restore.root, nullptr);
}

void PrintValues(const ValueSlot& current, const ValueSlot& stored) {
  Nv_Print("sVal=%s,sDeviceVal=%s\n", current.data(), stored.data());
}

// Puts a stored value at a path of the table, creating the list instance that it belongs to when
// the section says that there is one. A created instance holds its template's values, which no
// filter has to protect.
void PutValue(Restore& restore, std::size_t row, std::string_view row_path,
              const ValueSlot& stored) {
  PathText path = Nv_FormatPath(row_path, NsIndex);
  cfg_node* node = cfg_find_param_node(restore.root, path.data());
  const bool is_new = node == nullptr;
  if (is_new) {
    const bool numbered = row_path.find("%d") != std::string_view::npos;
    if (numbered) {
      AddNetworkStorage(restore);
    } else {
      AddMissingInstance(restore, row, path.data());
    }
    path = Nv_FormatPath(row_path, NsIndex);
    node = cfg_find_param_node(restore.root, path.data());
    if (node == nullptr) return;
  }
  const ValueSlot current = Nv_NodeValue(node);
  if (stored[0] == '\0' || Slot_Text(current) == Slot_Text(stored)) return;
  if (!is_new &&
      !Nv_FilterRestoredValue(restore.root, restore.record, path.data(), current, stored)) {
    return;
  }
  // A value that can't be put, a container's for example, is offered again at the next start.
  (void)cfg_set_param_value_no_eeprom(node, stored.data());
  PrintValues(current, stored);
  restore.changed = true;
}

// Puts each value of a row that is not empty and differs.
void RestoreRow(Restore& restore, const SectionMap& map, std::size_t row, std::size_t offset) {
  const Field& field = map.fields[row];
  const PathText row_paths = Map_Paths(map, field);
  const RowPaths paths = Map_SplitPaths(row_paths.data());
  if (paths.count == 0) return;
  ValueSlots stored{};
  // An identification in a place of its own does not convert, which is reported; its slots stay
  // empty.
  (void)Param_SectionToConfig(restore.record, stored, field.key, offset, field.format);
  for (std::size_t i = paths.count; i-- > 0;) PutValue(restore, row, paths.path[i], stored[i]);
}

// Reads the section at the record's address into the list's node and restores its values by the
// rows of the map at its position.
void RestoreSection(Restore& restore, std::size_t position, SectionNode& node) {
  if (EEprom_ReadSection(eeprom_handle, restore.record) != 0) {
    Nv_Print("%s: Read section error.\n", "Nv_ReadBackCheck");
    return;
  }
  Section_PrintHeader(restore.record);
  node.type = restore.record.type;
  node.address = restore.record.address;
  node.map = &Map_At(position);
  std::size_t offset = 0;
  const auto rows = Map_Rows(*node.map);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    RestoreRow(restore, *node.map, row, offset);
    offset += rows[row].format.size;
  }
}

void RestoreChain(Restore& restore) {
  section_list.clear();
  ChainWalk walk;
  ChainStep step = ChainStep::next;
  while (step == ChainStep::next) {
    restore.record = SectionRecord();
    restore.record.address = walk.address;
    RestoreSection(restore, walk.position, section_list.emplace_back());
    step = Chain_Advance(walk, restore.record.next_address);
  }
  if (step == ChainStep::loop) {
    Nv_Print("%s: Section chain loops at address 0x%x.\n", "Nv_ReadBackCheck", walk.address);
  }
}

// The lens driver moves the lens when it finds a line in its file.
void RequestLensPosition(const char* what, const ValueSlot& position) {
  std::array<char, 256> command;
  Nv_Print("%s position change\n", what);
  Text_Format(command, "echo \"%s=%s\" >> /mnt/mtd/lens_position_change", what, position.data());
  (void)Shell_Run(command.data());
}

// What a lens position moves; null for any other value.
const char* LensMotor(const SectionRecord& record, std::string_view path) {
  if (record.type != SectionType::lvln) return nullptr;
  if (path == "ImageSource.I0.LensControl.ZoomPos") return "zoom";
  if (path == "ImageSource.I0.LensControl.FocusPos") return "focus";
  return nullptr;
}

// The parameter that lists what this camera supports; null when everything goes.
const char* SupportedValues(const SectionRecord& record, std::string_view path) {
  if (record.type != SectionType::stpf) return nullptr;
  if (path == "ImageSource.I0.Config.CaptureMode") {
    return "ImageSource.I0.Config.CaptureModeFormatList";
  }
  if (path.find("Video.Resolution") != std::string_view::npos) {
    return "Properties.Image.ResolutionFormat.List";
  }
  return nullptr;
}

bool IsSupported(cfg_node* root, const char* list, const ValueSlot& stored) {
  cfg_node* node = cfg_find_param_node(root, list);
  if (node == nullptr) return true;
  const ValueSlot supported = Nv_NodeValue(node);
  return Slot_Text(supported).find(Slot_Text(stored)) != std::string_view::npos;
}

}  // namespace

int Nv_ReadBackCheck() {
  const ConfigFile config = Nv_OpenConfig();
  if (config.root == nullptr) return -1;
  Restore restore = {.device = config.handle.get(), .root = config.root};
  RestoreChain(restore);
  if (restore.changed) {
    Nv_Print("save device.conf\n");
    (void)cfg_save_file(config.handle.get(), device_conf);
  }
  return 0;
}

bool Nv_FilterRestoredValue(cfg_node* root, const SectionRecord& record, const char* path,
                            const ValueSlot& current, const ValueSlot& stored) {
  if (const char* motor = LensMotor(record, path)) {
    RequestLensPosition(motor, stored);
    return false;
  }
  const char* list = SupportedValues(record, path);
  if (list == nullptr) return true;
  PrintValues(current, stored);
  if (IsSupported(root, list, stored)) return true;
  Nv_Print("update section value\n");
  (void)Nv_HandleParameterChange(path, Slot_Text(current));
  return false;
}
