// SPDX-License-Identifier: MIT
#include "nvdump/apply.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>

#include "config/change_propagation.h"
#include "eeprom/identification.h"
#include "eeprom/restore.h"
#include "nvdump/options.h"

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

// Null for a value that is welcome.
const char* RemarkOn(StoredValue judgement) {
  switch (judgement) {
    case StoredValue::lens_position:
      return "goes to the lens driver";
    case StoredValue::unsupported:
      return "not supported here, the EEPROM gets the present value";
    case StoredValue::welcome:
      break;
  }
  return nullptr;
}

// Notes a value that stays out, once for each parameter.
bool IsPut(ParameterChange change, StoredValue judgement, std::vector<ParameterChange>& stays_out) {
  change.remark = RemarkOn(judgement);
  if (change.remark == nullptr) return true;
  if (std::ranges::find(stays_out, change.path, &ParameterChange::path) == stays_out.end()) {
    stays_out.push_back(std::move(change));
  }
  return false;
}

// An error is told at the end: nothing may be thrown through the daemon's functions.
void Save(const ConfigFile& config, const std::string& path, int& error) {
  if (path.empty() || error != 0) return;
  if (cfg_save_file(config.handle.get(), path.c_str()) != 0) error = errno;
}

void RestoreSections(const Image& image, Restore& restore) {
  for (const StoredSection& section : image.sections) {
    if (!section.is_readable) continue;
    restore.record = section.record;
    Restore_Section(restore, Map_At(section.position));
  }
}

}  // namespace

std::vector<ConfigParameter> Config_Parameters(cfg_node* root) {
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
  return Nv_CheckIdentification(0, Slot_Text(product_number)) == identification_mismatch;
}

std::vector<ParameterChange> Apply(const Image& image, const ConfigFile& config,
                                   const std::string& templates, const std::string& path) {
  cfg_node* root = config.root;
  int error = 0;
  std::vector<ParameterChange> stays_out;
  Restore restore = {.root = root, .add_instance = nullptr, .may_put = nullptr};
  restore.add_instance = [&](const ListKind& list, const char* needed) {
    if (List_AddInstance(list, templates.c_str(), root, needed)) Save(config, path, error);
  };
  restore.may_put = [&](const SectionRecord& record, const char* name, const ValueSlot& current,
                        const ValueSlot& stored) {
    return IsPut({name, current.data(), stored.data()}, Restore_Judge(root, record, name, stored),
                 stays_out);
  };
  const std::vector<ConfigParameter> before = Config_Parameters(root);
  RestoreSections(image, restore);
  if (restore.changed) Save(config, path, error);
  const bool is_clamped = Image_IsForeign(image) && Config_ClampStreams(root, nullptr);
  if (is_clamped) Save(config, path, error);
  if (error != 0) throw Failure(path + ": write: " + std::strerror(error));
  std::vector<ParameterChange> changes = Differences(before, Config_Parameters(root));
  std::ranges::move(stays_out, std::back_inserter(changes));
  return changes;
}
