// SPDX-License-Identifier: MIT
// Any configuration file: first line a path, second line a new value, behind them the file.
#include "config/store.h"
#include "fuzz/fuzz.h"
#include "tests/fakes/emulated_camera.h"

namespace {

// The value of an element with 4 KiB of room; a byte that no text holds stands for none.
std::string Value(cfg_node* node) {
  std::array<char, 4096> value;
  if (cfg_get_param_value(node, value.data(), value.size()) != 0) return "\xFF";
  return value.data();
}

// All elements in the order of the file, with their values.
std::vector<std::string> Values(const ConfigFile& config) {
  std::vector<std::string> values;
  for (cfg_node* node = cfg_walk_next(config.root, config.root, 1);
       node != nullptr && node != config.root; node = cfg_walk_next(node, config.root, 1)) {
    std::array<char, 256> path;
    cfg_get_node_pathname(node, config.root, path.data(), path.size());
    values.push_back(std::string(path.data()) + "=" + Value(node));
  }
  return values;
}

// Saves, and checks that nothing is different when the file is loaded again. Returns the file.
std::string SaveAndCheck(const ConfigFile& config) {
  if (cfg_save_file(config.handle.get(), device_conf) != 0) Fail("can't save");
  const ConfigFile again = Nv_OpenConfig();
  if (again.root == nullptr) Fail("what was saved can't be loaded");
  if (Values(again) != Values(config)) Fail("a save has changed a value");
  return camera.files[device_conf];
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string path(TakeUpTo('\n', input));
  std::string value(TakeUpTo('\n', input));
  value = value.substr(0, value.find('\0'));
  camera = EmulatedCamera();
  camera.files[device_conf] = input;
  const ConfigFile config = Nv_OpenConfig();
  if (config.root == nullptr) return 0;
  const std::string saved = SaveAndCheck(config);
  if (SaveAndCheck(Nv_OpenConfig()) != saved) Fail("a second save is different");
  cfg_node* node = cfg_find_param_node(config.root, path.c_str());
  if (node == nullptr) node = cfg_add_param_node(config.root, path.c_str());
  if (node == nullptr || cfg_set_param_value(node, value.c_str()) != 0) return 0;
  const std::string kept = Value(node);  // without a character that is unfinished at the end
  if (!value.starts_with(kept) || kept.size() + 3 < std::min<std::size_t>(value.size(), 4095)) {
    Fail("a new value is another");
  }
  (void)SaveAndCheck(config);
  return 0;
}
