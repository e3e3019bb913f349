// SPDX-License-Identifier: MIT
#include "nvdump/start.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "config/change_propagation.h"
#include "config/list_instances.h"
#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "eeprom/restore.h"
#include "nvdump/text.h"
#include "platform/file.h"
#include "platform/libcfg_fault.h"
#include "platform/utf8.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

// A daemon that can't save goes on with what there is, so another save shows whether this one
// could.
void CheckSaves() {
  std::string content;
  const bool saves = File_Read(device_conf, content) == 0 &&
                     File_Replace(device_conf, content + "\n") == 0 &&
                     File_Replace(device_conf, content) == 0;
  if (!saves) throw Failure(std::string(device_conf) + ": write: " + std::strerror(errno));
}

// A character that a cut has left unfinished does not come back.
bool IsAsStored(const std::string& value, const Json& stored) {
  const std::string text = stored.is_null() ? "" : stored;
  const std::string rest = text.starts_with(value) ? text.substr(value.size()) : "\n";
  return rest.empty() || Utf8_CharacterSize(rest) > rest.size();
}

// Why a parameter has no value: one that shares a field with it may have one that leaves no place.
void AddReason(Json& row, const Json& stored, const Json& parameters) {
  row["why"] = "not kept";
  for (const Json& field : stored["fields"]) {
    for (const std::string path : field["paths"]) {
      if (parameters[path]["value"].is_null()) continue;
      row["beside"] = path;
      row["why"] = "not kept while " + path + " is " + Cell(Row_Shown(parameters[path]), "value");
    }
  }
}

bool HasKnownParameter(cfg_node* root) {
  for (std::size_t position = 0; root != nullptr && position < chain_sections; ++position) {
    for (const Field& field : Map_At(position).fields) {
      for (const std::string& path : Field_Paths(position, field)) {
        if (cfg_find_param_node(root, path.c_str()) != nullptr) return true;
      }
    }
  }
  return false;
}

void RemoveFolder(const std::filesystem::path& file) {
  std::error_code ignored;  // there is nobody to tell
  std::filesystem::remove_all(file.parent_path(), ignored);
}

}  // namespace

WorkingCopy::WorkingCopy(const std::string& name, const std::string& content)
    : path(std::filesystem::temp_directory_path() / "nvdump.XXXXXX") {
  if (mkdtemp(path.data()) == nullptr) throw Failure(path + ": " + std::strerror(errno));
  path += "/device.conf";
  device_conf = path.c_str();
  std::string fault;
  if (File_Replace(device_conf, content) != 0) fault = std::strerror(errno);
  const ConfigFile config = Nv_OpenConfig();
  if (fault.empty() && !config.handle) fault = Libcfg_Fault();
  if (fault.empty() && !HasKnownParameter(config.root)) fault = "none of its parameters is known";
  if (!fault.empty()) {
    RemoveFolder(path);
    throw Failure(name + ": no configuration: " + fault);
  }
  product_number.fill('\0');
  (void)Nv_LoadProductNumber();
  (void)Nv_FindNetworkStorageIndex();
}

WorkingCopy::~WorkingCopy() { RemoveFolder(path); }

Json Config_Values() {
  const ConfigFile config = Nv_OpenConfig();
  Json values = Json::object();
  std::array<char, 1024> path;
  std::array<char, 4096> value;
  for (cfg_node* node = cfg_walk_next(config.root, config.root, 1); node != nullptr;
       node = cfg_walk_next(node, config.root, 1)) {
    if (cfg_get_param_value(node, value.data(), static_cast<int>(value.size())) != 0) continue;
    cfg_get_node_pathname(node, config.root, path.data(), static_cast<int>(path.size()));
    const bool counts = cfg_find_param_node(config.root, path.data()) == node;  // the first does
    if (counts) values[path.data()] = value.data();
  }
  return values;
}

Image Start_Fill(std::uint32_t time) {
  constexpr std::uint32_t time_address = Section_FieldAddress(0, identification_time.offset);
  Image image;
  image.adapter = "configuration";
  Image_Fit({});
  (void)Nv_InitEEprom();
  (void)EEprom_WriteValue(eeprom_handle, time_address, time, 4, ByteOrder::big_endian);
  image.bytes.resize(EEPROM_IMAGE_SIZE);
  EEprom_ReadBytes(eeprom_handle, 0, image.bytes);
  return image;
}

bool Start_IsForeign() {
  return Nv_CheckIdentification(eeprom_handle, Slot_Text(product_number)) ==
         identification_mismatch;
}

Json Start_Restore(const Image& image, const std::string& templates) {
  template_folder = templates.c_str();
  const Json before = Config_Values();
  const bool is_foreign = Start_IsForeign();
  (void)Nv_ReadBackCheck();
  if (is_foreign) (void)Nv_ClampStreamSettings();
  section_list.clear();
  CheckSaves();
  const Json after = Config_Values();
  Json rows = Json::object();
  for (const auto& [path, value] : after.items()) {
    const Json old = before.value(path, Json());
    if (old != value) rows[path] = {{"where", path}, {"old", old}, {"new", value}};
  }
  const Json parameters = Parameter_Rows(image);
  for (const auto& [table_path, stored] : parameters.items()) {
    const std::string path = Nv_FormatPath(table_path, NsIndex).data();
    if (!rows.contains(path)) {
      if (!after.contains(path) || IsAsStored(after[path], stored["value"])) continue;
      rows[path] = {
          {"where", path}, {"old", after[path]}, {"new", stored["value"]}, {"why", "stays out"}};
      if (stored["value"].is_null()) AddReason(rows[path], stored, parameters);
    }
    for (const char* cell : {"address", "section", "key", "secret"})
      rows[path][cell] = stored[cell];
  }
  return rows;
}
