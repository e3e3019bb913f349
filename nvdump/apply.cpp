// SPDX-License-Identifier: MIT
#include "nvdump/apply.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>

#include "config/change_propagation.h"
#include "config/list_instances.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "eeprom/restore.h"
#include "nvdump/options.h"
#include "platform/file.h"
#include "platform/utf8.h"

namespace {

std::vector<ParameterChange> Differences(const std::vector<ConfigParameter>& before,
                                         const std::vector<ConfigParameter>& after) {
  std::map<std::string, std::string> old_values;
  for (const auto& [path, value] : before) old_values.emplace(path, value);
  std::vector<ParameterChange> changes;
  for (const auto& [path, value] : after) {
    const auto old_value = old_values.find(path);
    if (old_value == old_values.end()) {
      changes.push_back({path, std::nullopt, value});
    } else if (old_value->second != value) {
      changes.push_back({path, old_value->second, value});
    }
  }
  return changes;
}

// A character that a cut has left unfinished does not come back.
bool IsAsStored(std::string_view value, std::string_view stored) {
  if (!stored.starts_with(value)) return false;
  const std::string_view rest = stored.substr(value.size());
  return rest.empty() || Utf8_CharacterSize(rest) > rest.size();
}

// What is stored and has not got into the configuration.
void AddWhatStaysOut(const Image& image, const std::vector<ConfigParameter>& after,
                     std::vector<ParameterChange>& changes) {
  const std::size_t count = changes.size();
  for (const StoredParameter& stored : Image_Parameters(image)) {
    const std::string path = Nv_FormatPath(stored.path, NsIndex).data();
    const auto now = std::ranges::find(after, path, &ConfigParameter::path);
    const auto known = std::span(changes).first(count);
    if (now == after.end() || stored.value.empty() || IsAsStored(now->value, stored.value) ||
        std::ranges::find(known, path, &ParameterChange::path) != known.end()) {
      continue;
    }
    changes.push_back({path, now->value, stored.value, "stays out"});
  }
}

// A daemon that can't save goes on with what there is, so another save shows whether this one
// could.
void CheckSaves() {
  std::string content;
  const bool saves = File_Read(device_conf, content) == 0 &&
                     File_Replace(device_conf, content + "\n") == 0 &&
                     File_Replace(device_conf, content) == 0;
  if (!saves) throw Failure(std::string(device_conf) + ": write: " + std::strerror(errno));
}

}  // namespace

std::vector<ConfigParameter> Config_Parameters() {
  const ConfigFile config = Nv_OpenConfig();
  cfg_node* root = config.root;
  std::vector<ConfigParameter> parameters;
  std::array<char, 1024> path;
  std::array<char, 4096> value;
  for (cfg_node* node = cfg_walk_next(root, root, 1); node != nullptr && node != root;
       node = cfg_walk_next(node, root, 1)) {
    if (cfg_get_param_value(node, value.data(), static_cast<int>(value.size())) != 0) continue;
    cfg_get_node_pathname(node, root, path.data(), static_cast<int>(path.size()));
    const bool counts = cfg_find_param_node(root, path.data()) == node;  // the first of a name does
    if (counts) parameters.push_back({path.data(), value.data()});
  }
  return parameters;
}

bool Image_IsForeign(const Image& image) {
  Image_Fit(image);
  return Nv_CheckIdentification(eeprom_handle, Slot_Text(product_number)) ==
         identification_mismatch;
}

std::vector<ParameterChange> Apply(const Image& image, const std::string& templates) {
  template_folder = templates.c_str();
  const std::vector<ConfigParameter> before = Config_Parameters();
  const bool is_foreign = Image_IsForeign(image);
  (void)Nv_ReadBackCheck();
  if (is_foreign) (void)Nv_ClampStreamSettings();
  section_list.clear();
  CheckSaves();
  const std::vector<ConfigParameter> after = Config_Parameters();
  std::vector<ParameterChange> changes = Differences(before, after);
  AddWhatStaysOut(image, after, changes);
  return changes;
}
