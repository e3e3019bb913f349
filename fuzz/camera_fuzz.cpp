// SPDX-License-Identifier: MIT
// A camera's life on any image, configuration and messages. The input is lines:
//   @ADDRESS BYTES   bytes of the chip, in hex         =PATH=VALUE  a parameter of device.conf
//   !                the daemon starts (again)         >MESSAGE     and is told something
//   x, o             the chip leaves the bus, returns
//   <...             device.conf, up to an empty line
// Anything else counts for nothing. At the end the chip is back and the daemon starts once more.
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <regex>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "eeprom/identification.h"
#include "sections/section.h"
#include "tests/fakes/emulated_camera.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int most_lines = 64;
constexpr int most_starts = 3;

struct Range {
  std::uint32_t from;
  std::size_t size;
};

// Stops the fuzzer: the input has shown what must not be.
[[noreturn]] void Fail(const char* what) {
  (void)std::fprintf(stderr, "FAILED: %s\n", what);
  std::abort();
}

// The input up to the next `end`, which is taken off as well.
std::string_view TakeUpTo(std::string_view end, std::string_view& input) {
  const std::string_view part = input.substr(0, input.find(end));
  input.remove_prefix(std::min(part.size() + end.size(), input.size()));
  return part;
}

unsigned ToNumber(std::string_view hex) {
  unsigned number = 0;
  (void)std::from_chars(hex.data(), hex.data() + hex.size(), number, 16);
  return number;
}

// Bytes go into the payloads of the sections that the daemon knows, the time stamp and `more`;
// everything else may only be written with what it held. Rows go by the position in the chain, a
// section's size by its type.
void CheckWrites(const Range& more, const std::vector<std::uint8_t>& before) {
  std::vector<Range> ranges = {{41, 4}, more};
  for (const SectionNode& node : section_list) {
    const std::size_t rows = PayloadSize(Map_Rows(*node.map));
    ranges.push_back(
        {Section_FieldAddress(node.address, 0), std::max(rows, Section_PayloadSize(node.type))});
  }
  for (const auto& [address, bytes, size] : camera.writes) {
    const bool is_allowed = std::ranges::any_of(ranges, [=, at = address, n = size](auto& range) {
      // A piece of a field stays in the 64 KiB block in which it begins.
      return ((at - range.from) & 0xFFFFU) + n <= range.size;
    });
    if (!is_allowed && !std::equal(&bytes[0], &bytes[size], &before[address])) {
      Fail("a write outside");
    }
  }
}

// Runs a step, which returns what it may write beside the sections' payloads, and checks what it
// leaves behind. Only numbers of the EEPROM's ever reach the shell.
void Check(const std::function<Range()>& step) {
  static const std::regex harmless(
      "restore|listen|save|sleep 3|/bin/xmlcfg -g [^`$;|\"'<\n]*|"
      "echo \"(zoom|focus)=-?[0-9]+\" >> /mnt/mtd/lens_position_change");
  const auto before = camera.chip;
  camera.writes.clear();
  camera.actions.clear();
  CheckWrites(step(), before);
  for (const std::string& action : camera.actions) {
    if (!std::regex_match(action, harmless)) Fail(action.c_str());
  }
}

Range Start() {
  const bool loaded = Nv_OpenConfig().root != nullptr;
  const int found = StartDaemon();
  if (loaded && Nv_OpenConfig().root == nullptr) Fail("device.conf can't be loaded any more");
  if (found == identification_match) return {};
  return {0, found == identification_empty ? EEPROM_IMAGE_SIZE : 45};
}

Range Send(std::string_view message) {
  Nv_HandleCommand(message.substr(0, 128));
  if (std::ranges::count(camera.actions, "save") != 0) Fail("a message saved device.conf");
  return message.starts_with("General.Brand.ProdNbr") ? Range{9, 32} : Range{};
}

void PatchChip(std::string_view line) {
  std::size_t address = ToNumber(TakeUpTo(" ", line));
  for (; line.size() >= 2; line.remove_prefix(2)) {
    camera.chip[address++ % camera.chip.size()] =
        static_cast<std::uint8_t>(ToNumber(line.substr(0, 2)));
  }
}

// What could be set is there after the save, but for a character that is unfinished at the end.
void SetAndCheck(const std::string& path, const std::string& value) {
  const ConfigFile config = Nv_OpenConfig();
  cfg_node* node = config.root == nullptr ? nullptr : cfg_add_param_node(config.root, path.c_str());
  if (node == nullptr || cfg_set_param_value(node, value.c_str()) != 0) return;
  if (cfg_save_file(config.handle.get(), device_conf) != 0) Fail("can't save");
  const std::string kept = Parameter(path);
  if (!value.starts_with(kept) || kept.size() + 3 < std::min<std::size_t>(value.size(), 127)) {
    Fail("a new value is another");
  }
}

void RunLine(char what, std::string_view line, int& starts) {
  if (what == '@') PatchChip(line);
  if (what == '=') {
    const std::string path(TakeUpTo("=", line));
    SetAndCheck(path, std::string(line.substr(0, line.find('\0'))));
  }
  if (what == '!' && ++starts <= most_starts) Check(Start);
  if (what == '>') Check([line] { return Send(line); });
  if (what == 'x' || what == 'o') camera.absent = what == 'x';
}

// The simulated camera's own device.conf and templates on an EEPROM that was filled from them.
void FitFilledCamera() {
  static const EmulatedCamera filled = [] {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) Fail("no /dev/null");
    FitFactoryCamera();
    (void)StartDaemon();
    return camera;
  }();
  camera = filled;
  section_list.clear();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  FitFilledCamera();
  int starts = 0;
  for (int lines = 0; !input.empty() && lines < most_lines; ++lines) {
    if (input[0] == '<' || input[0] == '\xEF') {
      camera.files[device_conf] = TakeUpTo("\n\n", input);
      continue;
    }
    const std::string_view line = TakeUpTo("\n", input);
    if (!line.empty()) RunLine(line.front(), line.substr(1), starts);
  }
  RunLine('o', {}, starts);
  Check(Start);
  return 0;
}
