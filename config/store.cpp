// SPDX-License-Identifier: MIT
#include "config/store.h"

#include <algorithm>
#include <cstdio>

#include "platform/shell.h"

const char* device_conf = "/etc/device.conf";
ValueSlot product_number;
std::int32_t NsIndex;

ConfigFile Nv_OpenConfig() {
  ConfigFile file;
  file.handle.reset(cfg_init(device_conf));
  if (file.handle) file.root = cfg_find_param_node(file.handle.get(), "root");
  return file;
}

PathText Nv_FormatPath(std::string_view path, int index) {
  constexpr std::string_view placeholder = "%d";
  ValueSlot number;
  Slot_SetNumber(number, index);
  PathText text{};
  std::size_t length = 0;
  const auto append = [&](std::string_view part) {
    part = part.substr(0, text.size() - 1 - length);
    std::copy(part.begin(), part.end(), &text[length]);
    length += part.size();
  };
  for (std::size_t at = 0; (at = path.find(placeholder)) != std::string_view::npos;) {
    append(path.substr(0, at));
    append(Slot_Text(number));
    path.remove_prefix(at + placeholder.size());
  }
  append(path);
  return text;
}

ValueSlot Nv_NodeValue(cfg_node* node) {
  ValueSlot value{};
  if (node == nullptr) return value;
  if (cfg_get_param_value(node, value.data(), static_cast<int>(value.size())) != 0) return {};
  value.back() = '\0';  // whatever library is linked in
  return value;
}

void Nv_QueryParameter(const char* path, ValueSlot& value) {
  std::array<char, 128> command;
  const int length =
      std::snprintf(command.data(), command.size(), "/bin/xmlcfg -g %s %s 2>&1", path, device_conf);
  if (length < 0 || static_cast<std::size_t>(length) >= command.size()) return;
  std::array<char, 128> word;
  if (!Shell_ReadFirstWord(command.data(), word)) return;
  const std::string_view answer = word.data();
  const std::size_t equals = answer.find('=');
  if (equals != std::string_view::npos) Slot_SetText(value, answer.substr(equals + 1));
}

void Nv_FactoryReset() { (void)Shell_Run("restore"); }

void Nv_SetProductNumber(std::string_view text) { Slot_SetText(product_number, text); }

int Nv_LoadProductNumber() {
  const ConfigFile config = Nv_OpenConfig();
  if (config.root == nullptr) return -1;
  cfg_node* node = cfg_find_param_node(config.root, "General.Brand.ProdNbr");
  if (node != nullptr) Nv_SetProductNumber(Slot_Text(Nv_NodeValue(node)));
  return 0;
}

int Nv_FindNetworkStorageIndex() {
  constexpr int most_servers = 65536;  // a greater "MaxCnt" is not believed
  const ConfigFile config = Nv_OpenConfig();
  if (config.root == nullptr) return -1;
  cfg_node* max_count_node = cfg_find_param_node(config.root, "Event.Server.MaxCnt");
  const ValueSlot max_count = Nv_NodeValue(max_count_node);
  const int count = std::min(Text_ToInt(Slot_Text(max_count)), most_servers);
  NsIndex = -1;
  for (int i = 0; i < count && NsIndex < 0; ++i) {
    const PathText path = Nv_FormatPath("Event.Server.S%d.Type", i);
    const ValueSlot type = Nv_NodeValue(cfg_find_param_node(config.root, path.data()));
    if (Slot_Text(type) == "ns") NsIndex = i;
  }
  return 0;
}
