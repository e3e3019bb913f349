// SPDX-License-Identifier: MIT
// The daemon's own start on a copy of a configuration, and what is written to files: build,
// extract, dump.
#include <fcntl.h>
#include <fnmatch.h>
#include <unistd.h>

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
#include "nvdump/nvdump.h"
#include "platform/file.h"
#include "platform/host.h"
#include "platform/libcfg_fault.h"
#include "platform/utf8.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

std::error_code ignored;  // of the file system, where a "no" says enough

struct Folder {
  std::string path = std::filesystem::temp_directory_path() / "nvdump.XXXXXX";
  Folder() {
    if (mkdtemp(path.data()) == nullptr) throw Failure(path + ": " + std::strerror(errno));
  }
  ~Folder() { std::filesystem::remove_all(path, ignored); }
};

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
      row["why"] = "not kept while " + path + " is " + Cell(Shown(parameters[path]), "value");
    }
  }
}

// The working copy's parameters that have a value, by path, in its order.
Json Config_Values() {
  const ConfigFile config = Nv_OpenConfig();
  Json::object_t values;  // whose own search looks at one after the other
  std::array<char, 1024> path;
  std::array<char, 4096> value;
  for (cfg_node* node = cfg_walk_next(config.root, config.root, 1); node != nullptr;
       node = cfg_walk_next(node, config.root, 1)) {
    if (cfg_get_param_value(node, value.data(), static_cast<int>(value.size())) != 0) continue;
    cfg_get_node_pathname(node, config.root, path.data(), static_cast<int>(path.size()));
    const bool counts = cfg_find_param_node(config.root, path.data()) == node;  // the first does
    if (counts) values.emplace_back(path.data(), value.data());
  }
  return values;
}

// Whether a path is one of the secret ones, with any number for their "%d": a restore may have
// moved the network storage.
bool IsSecret(const std::map<std::string, bool>& table, const std::string& path) {
  return std::ranges::any_of(table, [&path](const auto& each) {
    std::string pattern = each.first;
    const std::size_t number = pattern.find("%d");
    if (number != pattern.npos) pattern.replace(number, 2, "[0-9]*");
    return each.second && fnmatch(pattern.c_str(), path.c_str(), 0) == 0;
  });
}

// Refuses an output that would destroy something, what is read from first of all.
void CheckOutput(const Options& options, const std::vector<std::string>& inputs, bool is_text) {
  const std::string& name = options.words.at("output");
  if (name.empty()) throw Failure("where to? -o FILE");
  const bool is_standard_output = name == "-";
  if (is_standard_output && !is_text && isatty(STDOUT_FILENO) != 0) {
    throw Failure("-o -: a terminal is no place for an image");
  }
  if (is_standard_output || !std::filesystem::exists(name, ignored)) return;
  if (!std::filesystem::is_regular_file(name, ignored)) throw Failure(name + " is no regular file");
  for (const std::string& input : inputs) {
    const bool is_same =
        std::filesystem::equivalent(name, input == "-" ? "/dev/stdin" : input, ignored);
    if (is_same) throw Failure(name + " is what is read from");
  }
  if (!options.flags.at("force")) throw Failure(name + " exists; --force replaces it");
}

// Returns what is for standard output, nothing once it is in the file. A new file holds passwords,
// so it is its owner's only; one that is there keeps its mode.
std::string Written(const Options& options, const std::string& content) {
  const std::string& path = options.words.at("output");
  if (path == "-") return content;
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (fd >= 0) (void)close(fd);
  const bool may_replace = fd >= 0 || (options.flags.at("force") && std::filesystem::exists(path));
  if (may_replace && File_Replace(path.c_str(), content) == 0) return {};
  const int error = errno;
  if (fd >= 0) (void)unlink(path.c_str());
  throw Failure(path + ": write: " + std::strerror(error));
}

// Names what the configuration lacks, and what a restore from the image would not bring back. What
// does not come back beside another value is no loss. Returns whether there is any.
bool SayLosses(const Options& options, const Image& image) {
  std::size_t losses = 0;
  const Json values = Config_Values();
  for (const Json& row : Parameter_Rows(image)) {
    const std::string path = Nv_FormatPath(row["path"].get<std::string>(), NsIndex).data();
    // A camera without network storage has none of its parameters.
    if (values.contains(path) || (path != row["path"] && NsIndex < 0)) continue;
    Say(path + ": not in the configuration");
    ++losses;
  }
  const Json rows = Start_Restore(image, options);
  for (const Json& row : rows) {
    Say(Change_Text(Shown(row), "value"));
    if (!row.contains("beside")) ++losses;
  }
  if (losses == 0 && rows.empty()) Say("every value comes back as it is");
  return losses > 0;
}

}  // namespace

void Config_Use(const std::string& name, const std::string& content) {
  static const Folder folder;
  static const std::string path = folder.path + "/device.conf";
  device_conf = path.c_str();
  std::string fault;
  if (File_Replace(device_conf, content) != 0) fault = std::strerror(errno);
  const ConfigFile config = Nv_OpenConfig();
  if (fault.empty() && !config.handle) fault = Libcfg_Fault();
  const bool is_known = fault.empty() && std::ranges::any_of(Table_Paths(), [&](const auto& each) {
                          return cfg_find_param_node(config.root, each.first.c_str()) != nullptr;
                        });
  if (fault.empty() && !is_known) fault = "none of its parameters is known";
  if (!fault.empty()) throw Failure(name + ": no configuration: " + fault);
  product_number.fill('\0');
  (void)Nv_LoadProductNumber();
  (void)Nv_FindNetworkStorageIndex();
}

std::vector<std::uint8_t> Start_Fill(std::uint32_t time) {
  constexpr std::uint32_t time_address = Section_FieldAddress(0, identification_time.offset);
  std::vector<std::uint8_t> bytes(EEPROM_IMAGE_SIZE);
  Image_Fit({});
  (void)Nv_InitEEprom();
  (void)EEprom_WriteValue(eeprom_handle, time_address, time, 4, ByteOrder::big_endian);
  EEprom_ReadBytes(eeprom_handle, 0, bytes);
  return bytes;
}

bool Start_IsForeign() {
  return Nv_CheckIdentification(eeprom_handle, Slot_Text(product_number)) ==
         identification_mismatch;
}

Json Start_Restore(const Image& image, const Options& options) {
  const std::string& templates = options.words.at("templates");
  template_folder = templates.c_str();
  const auto before = Config_Values().get<std::map<std::string, Json>>();
  const bool is_foreign = Start_IsForeign();
  (void)Nv_ReadBackCheck();
  if (is_foreign) (void)Nv_ClampStreamSettings();
  section_list.clear();
  // A daemon that can't save goes on with what there is; another save shows whether this one could.
  std::string content;
  const bool saves = File_Read(device_conf, content) == 0 &&
                     File_Replace(device_conf, content + "\n") == 0 &&
                     File_Replace(device_conf, content) == 0;
  if (!saves) throw Failure(std::string(device_conf) + ": write: " + std::strerror(errno));
  const Json after = Config_Values();
  Json rows = Json::object();
  for (const auto& [path, value] : after.items()) {
    const auto old = before.find(path);
    const Json was = old == before.end() ? Json() : old->second;
    if (was != value) rows[path] = {{"where", path}, {"old", was}, {"new", value}};
  }
  const Json parameters = Parameter_Rows(image);
  bool lacks = false;
  for (const auto& [table_path, stored] : parameters.items()) {
    const std::string path = Nv_FormatPath(table_path, NsIndex).data();
    if (!rows.contains(path)) {
      lacks = lacks || (!after.contains(path) && !stored["value"].is_null());
      if (!after.contains(path) || IsAsStored(after[path], stored["value"])) continue;
      rows[path] = {
          {"where", path}, {"old", after[path]}, {"new", stored["value"]}, {"why", "stays out"}};
      if (stored["value"].is_null()) AddReason(rows[path], stored, parameters);
    }
    Json& row = rows[path];
    for (const char* cell : {"address", "section", "key", "secret"}) row[cell] = stored[cell];
  }
  if (lacks && !File_Exists(template_folder)) Say(templates + ": no such folder");
  const auto table = Table_Paths();
  for (Json& row : rows) {
    if (!options.flags.at("secrets") && IsSecret(table, row["where"])) row["secret"] = true;
  }
  return rows;
}

int Build(const Options& options, std::string& out) {
  const std::string& name = options.operands[0];
  CheckOutput(options, {name}, false);
  Config_Use(name, Source_Read(name));
  if (product_number[0] == '\0') {
    throw Failure(name + ": no product number (General.Brand.ProdNbr)");
  }
  Image image;
  const std::string& time = options.words.at("time");
  image.bytes =
      Start_Fill(time.empty() ? Host_Time() : static_cast<std::uint32_t>(Number(time, UINT32_MAX)));
  Image_Parse(image, options.flags.at("secrets"));
  if (SayLosses(options, image) && options.flags.at("strict")) throw Failure("not built: --strict");
  const std::size_t size = Number(options.words.at("size"), 0x80000);
  if (size > 0 && size < image.bytes.size()) {
    throw Failure(Format("--size %zu: the image has %zu bytes", size, image.bytes.size()));
  }
  image.bytes.resize(std::max(size, image.bytes.size()), 0xFF);
  out = Written(options, {image.bytes.begin(), image.bytes.end()});
  return exit_fine;
}

int Extract(const Options& options, std::string& out) {
  const std::string& name = options.operands[0];
  const std::string& base = options.words.at("config");
  const bool is_shown = options.words.at("output").empty();
  if (base.empty()) throw Failure("into which configuration? --config BASE");
  if (!is_shown) CheckOutput(options, {base, name, options.words.at("device")}, true);
  const Image image = Source_Open(options, name);
  Config_Use(base, Source_Read(base));
  if (image.state != ImageState::filled) {
    Say(image.name + ": " + State_Name(image.state) + ": a start takes nothing from it");
    return exit_finds;
  }
  const bool is_damaged = SayWhatIsMissing(image);
  if (Start_IsForeign()) Say(base + " is taken as just reset: the image is of another product");
  bool changes = false;
  std::string lines;
  for (const Json& row : Start_Restore(image, options)) {
    if (row["new"].is_null()) continue;
    lines += Change_Text(Shown(row), "value") + "\n";
    changes = changes || !row.contains("why");
  }
  if (!changes) Say("nothing would change");
  out = is_shown ? lines : Written(options, Source_Read(device_conf));
  return is_damaged || (is_shown && !lines.empty()) ? exit_finds : exit_fine;
}

int Dump(const Options& options, std::string& out) {
  CheckOutput(options, {options.operands[0], options.words.at("device")}, false);
  const Image image = Source_Open(options, options.operands[0]);
  out = Written(options, {image.bytes.begin(), image.bytes.end()});
  if (image.state == ImageState::filled && out.empty()) {
    Say(options.words.at("output") + " holds the passwords as they are");
  }
  return exit_fine;
}
