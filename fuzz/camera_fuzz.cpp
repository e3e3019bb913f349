// SPDX-License-Identifier: MIT
// A camera's life on any image, configuration and messages. The input is lines:
//   @ADDRESS BYTES   bytes of the chip, in hex         =PATH=VALUE  a parameter of device.conf
//   !                the daemon starts (again)         >MESSAGE     and is told something
//   x, o             the chip leaves the bus, returns
//   <...             device.conf, up to an empty line
// Anything else counts for nothing. At the end the chip is back and the daemon starts once more.
// Whatever that is, it ends, stays in its memory, hands the shell nothing but numbers of the
// EEPROM's, and leaves a device.conf that can be loaded.
#include <cstdio>
#include <cstdlib>
#include <regex>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "tests/fakes/emulated_camera.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int most_lines = 64;

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
  return static_cast<unsigned>(std::strtoul(std::string(hex).c_str(), nullptr, 16));
}

void CheckActions() {
  static const std::regex harmless(
      "restore|listen|save|sleep 3|/bin/xmlcfg -g [^`$;|\"'<\n]*|"
      "echo \"(zoom|focus)=-?[0-9]+\" >> /mnt/mtd/lens_position_change");
  for (const std::string& action : camera.actions) {
    if (!std::regex_match(action, harmless)) Fail(action.c_str());
  }
}

void Start() {
  const bool loaded = Nv_OpenConfig().root != nullptr;
  (void)StartDaemon();
  if (loaded && Nv_OpenConfig().root == nullptr) Fail("device.conf can't be loaded any more");
}

void PatchChip(std::string_view line) {
  std::size_t address = ToNumber(TakeUpTo(" ", line));
  for (; line.size() >= 2; line.remove_prefix(2)) {
    const unsigned byte = ToNumber(line.substr(0, 2));
    camera.chip[address++ % camera.chip.size()] = static_cast<std::uint8_t>(byte);
  }
}

void RunLine(char what, std::string_view line) {
  if (what == '@') PatchChip(line);
  if (what == '=') {
    const std::string path(TakeUpTo("=", line));
    SetParameter(path, std::string(line.substr(0, line.find('\0'))));
  }
  if (what == '!') Start();
  if (what == '>') Nv_HandleCommand(line.substr(0, 128));
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
  for (int lines = 0; !input.empty() && lines < most_lines; ++lines) {
    if (input[0] == '<' || input[0] == '\xEF') {
      camera.files[device_conf] = TakeUpTo("\n\n", input);
      continue;
    }
    const std::string_view line = TakeUpTo("\n", input);
    if (!line.empty()) RunLine(line.front(), line.substr(1));
  }
  camera.absent = false;
  Start();
  CheckActions();
  return 0;
}
