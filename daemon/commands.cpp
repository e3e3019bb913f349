// SPDX-License-Identifier: MIT
#include "daemon/commands.h"

#include <algorithm>
#include <array>

#include "config/change_propagation.h"
#include "config/section_list.h"
#include "config/store.h"
#include "daemon/log.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

// Whether `path` is part of one of a field's paths.
bool HasPath(const SectionMap& map, const Field& field, const PathText& path) {
  const PathText paths = Map_Paths(map, field);
  return std::string_view(paths.data()).find(path.data()) != std::string_view::npos;
}

// Rewrites every field of a node whose paths contain `path` with an empty value. What the bus
// refuses has been reported; no command has an answer that could tell it.
void ClearFields(const SectionNode& node, const PathText& path, bool prints_row) {
  const auto rows = Map_Rows(*node.map);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (!HasPath(*node.map, rows[row], path)) continue;
    if (prints_row) Nv_Print("i=%d\n", static_cast<int>(row));
    SectionRecord record;
    record.type = node.type;
    (void)Nv_UpdateSectionData(path.data(), "", row, record, node);
  }
}

void RemoveStreamProfile(std::string_view value) {
  const PathText name = Nv_FormatPath("StreamProfile.I%d.Video.Name", Text_ToInt(value));
  const auto node = std::ranges::find_if(section_list, [&name](const SectionNode& each) {
    const auto rows = Map_Rows(*each.map);
    return each.type == SectionType::stpf && !rows.empty() && HasPath(*each.map, rows[0], name);
  });
  if (node != section_list.end()) Nv_CleanSection(*node);
}

void RemoveUser(std::string_view value) {
  const SectionNode* node = SectionList_Find(SectionType::sssc);
  if (node == nullptr) return;
  ClearFields(*node, Nv_FormatPath("General.UserID.U%d.User", Text_ToInt(value)), true);
}

void RemoveRecord(std::string_view value) {
  const PathText schedule = Nv_FormatPath("Event.Scheduled.S%d", Text_ToInt(value));
  for (const SectionNode& node : section_list) {
    if (node.type == SectionType::srin || node.type == SectionType::srex) {
      ClearFields(node, schedule, false);
    }
  }
}

void RemoveServer(std::string_view value) {
  Nv_Print("remove sever=%.*s\n", static_cast<int>(value.size()), value.data());
  if (Text_ToInt(value) != NsIndex) return;
  const SectionNode* node = SectionList_Find(SectionType::srex);
  if (node != nullptr) Nv_CleanSection(*node);
  NsIndex = -1;
  Nv_Print("NsIndex=%d\n", NsIndex);
}

// Switches recording to network storage on, in the EEPROM only.
void AddNetworkStorage(std::string_view value) {
  NsIndex = Text_ToInt(value);
  Nv_Print("NsIndex=%d\n", NsIndex);
  const SectionNode* node = SectionList_Find(SectionType::srex);
  if (node == nullptr) return;
  const auto rows = Map_Rows(*node->map);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].key != "srex_rec_en") continue;
    const std::size_t offset = FieldOffset(rows, row);
    (void)EEprom_WriteByte(eeprom_handle, Section_FieldAddress(node->address, offset), 1);
  }
}

void SetProductNumber(std::string_view value) {
  Nv_SetProductNumber(value);
  std::array<std::uint8_t, identification_id.size> id;
  std::copy_n(product_number.begin(), id.size(), id.begin());
  EEprom_WriteText(eeprom_handle, Section_FieldAddress(0, identification_id.offset), id);
}

struct Command {
  std::string_view word;
  void (*handle)(std::string_view value);
};
constexpr std::array<Command, 6> commands = {{
    {"remove_stpf", RemoveStreamProfile},
    {"remove_user", RemoveUser},
    {"remove_record", RemoveRecord},
    {"remove_server", RemoveServer},
    {"add_serverns", AddNetworkStorage},
    {"General.Brand.ProdNbr", SetProductNumber},
}};

}  // namespace

void Nv_HandleCommand(std::string_view message) {
  const std::size_t equals = message.find('=');
  if (equals == std::string_view::npos) return;
  const std::string_view key = message.substr(0, equals);
  const std::string_view value = message.substr(equals + 1);
  for (const Command& command : commands) {
    if (key.starts_with(command.word)) return command.handle(value);
  }
  (void)Nv_HandleParameterChange(key, value);
}
