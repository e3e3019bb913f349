// SPDX-License-Identifier: MIT
// Any configuration file: first line a path, second line a new value, behind them the file.
#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

#include "fuzz/fuzz_camera.h"
#include "platform/libcfg.h"
#include "tests/fakes/fake_machine.h"

namespace {

constexpr const char* file = "/etc/device.conf";

struct Loaded {
  cfg_handle* handle = cfg_init(file);
  cfg_node* root = handle == nullptr ? nullptr : cfg_find_param_node(handle, "root");
  Loaded() = default;
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;
  ~Loaded() { cfg_deinit(handle); }
};

std::string Value(cfg_node* node) {
  std::array<char, 4096> value;
  if (cfg_get_param_value(node, value.data(), value.size()) != 0) return "\xFF(no value)";
  return value.data();
}

// The values of all elements in the order of the file.
std::vector<std::string> Values(const Loaded& loaded) {
  std::vector<std::string> values;
  for (cfg_node* node = cfg_walk_next(loaded.root, loaded.root, 1);
       node != nullptr && node != loaded.root; node = cfg_walk_next(node, loaded.root, 1)) {
    std::array<char, 256> path;
    cfg_get_node_pathname(node, loaded.root, path.data(), path.size());
    values.push_back(std::string(path.data()) + "=" + Value(node));
  }
  return values;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string path(TakeUpTo('\n', input));
  std::string value(TakeUpTo('\n', input));
  value = value.substr(0, value.find('\0'));
  machine = FakeMachine();
  machine.files[file] = input;

  std::vector<std::string> values;
  {
    const Loaded loaded;
    if (loaded.root == nullptr) return 0;
    values = Values(loaded);
    if (cfg_save_file(loaded.handle, file) != 0) Fail("can't save");
  }
  const std::string saved = machine.files[file];
  {
    const Loaded loaded;
    if (loaded.root == nullptr) Fail("what was saved can't be loaded");
    if (Values(loaded) != values) Fail("a save has changed a value");
    if (cfg_save_file(loaded.handle, file) != 0 || machine.files[file] != saved) {
      Fail("a second save is different");
    }
  }
  {
    const Loaded loaded;
    cfg_node* node = cfg_find_param_node(loaded.root, path.c_str());
    if (node == nullptr) node = cfg_add_param_node(loaded.root, path.c_str());
    if (node == nullptr || cfg_set_param_value(node, value.c_str()) != 0) return 0;
    values = Values(loaded);
    // An unfinished character at the end is dropped.
    const std::string kept = Value(node);
    if (!value.starts_with(kept) || kept.size() + 3 < std::min<std::size_t>(value.size(), 4095)) {
      Fail("a new value is another");
    }
    value = kept;
    if (cfg_save_file(loaded.handle, file) != 0) Fail("can't save");
  }
  const Loaded loaded;
  if (loaded.root == nullptr) Fail("what was changed can't be loaded");
  if (Value(cfg_find_param_node(loaded.root, path.c_str())) != value) {
    Fail("a new value does not come back");
  }
  if (Values(loaded) != values) Fail("a change has changed another value");
  return 0;
}
