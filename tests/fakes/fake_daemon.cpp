// SPDX-License-Identifier: MIT
#include "tests/fakes/fake_daemon.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/synchronise.h"
#include "sections/section.h"
#include "tests/fakes/fake_chip.h"

int StartDaemon() {
  product_number.fill('\0');
  NsIndex = 0;
  (void)Nv_LoadProductNumber();
  (void)Nv_FindNetworkStorageIndex();
  return Nv_Synchronise();
}

namespace {

std::uint32_t Family(std::uint32_t address) {
  return (address & 0x30000U) | (address < 0x40000 ? 0U : 0x40000U);
}

bool NamesRow(const SectionNode& node, std::size_t row, std::string_view key, bool exactly) {
  const RowPaths paths = Map_SplitPaths(node.map->fields[row].paths);
  for (std::size_t i = 0; i < paths.count; ++i) {
    const PathText path = Nv_FormatPath(paths.path[i], NsIndex);
    const std::string_view text = path.data();
    if (exactly ? text == key : paths.path[i].find(key) != std::string_view::npos) return true;
  }
  return false;
}

// The commands, by their effect: the parameters whose fields are emptied, or a whole section.
struct Effect {
  std::string_view word;
  std::vector<std::uint32_t> types;
  std::string_view part_of_path;  // empty: the whole section
};
const std::vector<Effect> effects = {
    {"remove_stpf", {8}, ""},
    {"remove_user", {2}, "General.UserID.U"},
    {"remove_record", {9, 10}, "Event.Scheduled.S"},
    {"remove_server", {10}, ""},
    {"add_serverns", {10}, "Event.Server.S%d.Type"},
};

}  // namespace

void MarkBytes(AddressSet& bytes, std::uint32_t address, std::size_t size) {
  // A piece of up to 4 bytes stays in the 64 KiB block in which it begins.
  for (std::uint32_t i = 0; i < size; ++i) {
    for (std::uint32_t start = 0; start < 4; ++start) {
      const std::size_t at = Family(address + i - start) | ((address + i) & 0xFFFFU);
      if (at < bytes.size()) bytes[at] = 1;
    }
  }
}

void MarkMessage(AddressSet& bytes, std::string_view message) {
  const std::string_view key = message.substr(0, message.find('='));
  if (key.size() == message.size()) return;
  MarkBytes(bytes, 41, 4);
  if (key.starts_with("General.Brand.ProdNbr")) MarkBytes(bytes, 9, 32);
  const auto effect = std::ranges::find_if(
      effects, [key](const Effect& each) { return key.starts_with(each.word); });
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    if (effect != effects.end() &&
        std::ranges::count(effect->types, static_cast<std::uint32_t>(node->type)) == 0)
      continue;
    if (effect != effects.end() && effect->part_of_path.empty()) {
      MarkBytes(bytes, node->address, SECTION_HEADER_SIZE + Section_PayloadSize(node->type));
      continue;
    }
    for (std::size_t row = 0; row < Map_Rows(*node->map).size(); ++row) {
      const bool named = effect == effects.end()
                             ? NamesRow(*node, row, key, true)
                             : NamesRow(*node, row, effect->part_of_path, false);
      if (!named) continue;
      MarkBytes(bytes, SectionList_FieldAddress(*node, row), node->map->fields[row].format.size);
    }
  }
}

long FirstStrayByte(const AddressSet& allowed, const std::vector<std::uint8_t>& before) {
  constexpr std::size_t block = 4096;
  for (std::size_t at = 0; at < before.size(); at += block) {
    if (std::memcmp(&chip.bytes[at], &before[at], block) == 0) continue;
    for (std::size_t i = at; i < at + block; ++i) {
      if (chip.bytes[i] != before[i] && allowed[i] == 0) return static_cast<long>(i);
    }
  }
  return -1;
}
