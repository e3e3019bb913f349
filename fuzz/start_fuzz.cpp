// SPDX-License-Identifier: MIT
// A camera's life on any image and configuration. The input is lines:
//   @ADDRESS BYTES   bytes of the chip, in hex         =PATH=VALUE  a parameter of device.conf
//   !                the daemon starts (again)         >MESSAGE     and is told something
//   x, o             the chip leaves the bus, returns  %N           the power fails after N
//   transfers
// Anything else counts for nothing. At the end the chip is back and the daemon starts once more.
#include <algorithm>
#include <charconv>
#include <string>

#include "config/store.h"
#include "fuzz/fuzz_camera.h"
#include "tests/fakes/fake_chip.h"

namespace {

constexpr int most_lines = 64;
constexpr int most_starts = 3;

std::size_t ToNumber(std::string_view text, int base) {
  std::size_t number = 0;
  (void)std::from_chars(text.data(), text.data() + text.size(), number, base);
  return number;
}

void PatchChip(std::string_view line) {
  std::size_t address = ToNumber(TakeUpTo(' ', line), 16);
  for (; line.size() >= 2; line.remove_prefix(2)) {
    chip.bytes[address++ % chip.bytes.size()] =
        static_cast<std::uint8_t>(ToNumber(line.substr(0, 2), 16));
  }
}

void SetInConfiguration(std::string_view line) {
  const std::string path(TakeUpTo('=', line));
  const ConfigFile config = Nv_OpenConfig();
  cfg_node* node = config.root == nullptr ? nullptr : cfg_add_param_node(config.root, path.c_str());
  if (node == nullptr) return;
  (void)cfg_set_param_value(node, std::string(line).c_str());
  (void)cfg_save_file(config.handle.get(), device_conf);
}

void RestorePower() {
  chip.dies_at_write = -1;
  chip.absent = false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FitFactoryCamera();
  std::string_view input(reinterpret_cast<const char*>(data), size);
  int starts = 0;
  for (int lines = 0; !input.empty() && lines < most_lines; ++lines) {
    std::string_view line = TakeUpTo('\n', input);
    const char what = line.empty() ? ' ' : line.front();
    line.remove_prefix(std::min<std::size_t>(line.size(), 1));
    if (what == '@') PatchChip(line);
    if (what == '=') SetInConfiguration(line);
    if (what == '!' && ++starts <= most_starts) StartAndCheck();
    if (what == '>') SendAndCheck(line.substr(0, 128), chip.bytes.size());
    if (what == 'x') chip.absent = true;
    if (what == 'o') RestorePower();
    if (what == '%') chip.dies_at_write = chip.writes + static_cast<int>(ToNumber(line, 10) % 7000);
  }
  RestorePower();
  StartAndCheck();
  return 0;
}
