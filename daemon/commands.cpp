// SPDX-License-Identifier: MIT
#include "daemon/commands.h"

#include <array>
#include <cstdio>

#include "config/change_propagation.h"
#include "config/section_list.h"
#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "sections/section.h"

namespace {

constexpr std::uint32_t security_type = 2;
constexpr std::uint32_t stream_profile_type = 8;
constexpr std::uint32_t memory_card_type = 9;
constexpr std::uint32_t network_storage_type = 10;

// Rewrites every field of a node whose paths contain `path` with an empty value.
void ClearFields(const SectionNode& node, const PathText& path, bool prints_row) {
  const auto rows = Map_Rows(*node.map);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].path.find(path.data()) == std::string_view::npos) continue;
    if (prints_row) (void)std::printf("i=%d\n", static_cast<int>(row));
    SectionRecord record;
    record.type = node.type;
    (void)Nv_UpdateSectionData(path.data(), "", row, record, node);
  }
}

void RemoveStreamProfile(std::string_view value) {
  const PathText name = Nv_FormatPath("StreamProfile.I%d.Video.Name", Text_ToInt(value));
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    const auto rows = Map_Rows(*node->map);
    if (node->type == stream_profile_type && !rows.empty() &&
        rows[0].path.find(name.data()) != std::string_view::npos) {
      Nv_CleanSection(*node);
      return;
    }
  }
}

void RemoveUser(std::string_view value) {
  const SectionNode* node = SectionList_Find(security_type);
  if (node == nullptr) return;
  ClearFields(*node, Nv_FormatPath("General.UserID.U%d.User", Text_ToInt(value)), true);
}

void RemoveRecord(std::string_view value) {
  const PathText schedule = Nv_FormatPath("Event.Scheduled.S%d", Text_ToInt(value));
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    if (node->type == memory_card_type || node->type == network_storage_type) {
      ClearFields(*node, schedule, false);
    }
  }
}

void RemoveServer(std::string_view value) {
  (void)std::printf("remove sever=%.*s\n", static_cast<int>(value.size()), value.data());
  if (Text_ToInt(value) != NsIndex) return;
  const SectionNode* node = SectionList_Find(network_storage_type);
  if (node != nullptr) Nv_CleanSection(*node);
  NsIndex = -1;
  (void)std::printf("NsIndex=%d\n", NsIndex);
}

// Switches recording to network storage on, in the EEPROM only.
void AddNetworkStorage(std::string_view value) {
  NsIndex = Text_ToInt(value);
  (void)std::printf("NsIndex=%d\n", NsIndex);
  const SectionNode* node = SectionList_Find(network_storage_type);
  if (node == nullptr) return;
  const auto rows = Map_Rows(*node->map);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].key != "srex_rec_en") continue;
    (void)EEprom_WriteValue(eeprom_handle, SectionList_FieldAddress(*node, row), 1, 1,
                            static_cast<int>(node->map->fields[row].kind));
  }
}

void SetProductNumber(std::string_view value) {
  Nv_SetProductNumber(value);
  for (std::uint32_t i = 0; i < identification_id_size; i += 4) {
    std::uint32_t piece = 0;
    for (std::uint32_t j = 0; j < 4; ++j) {
      piece |= std::uint32_t{static_cast<std::uint8_t>(product_number[i + j])} << (8 * j);
    }
    (void)EEprom_WriteValue(eeprom_handle, identification_id_address + i, piece, 4, 0);
  }
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
