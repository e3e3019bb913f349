// SPDX-License-Identifier: MIT
#include "fuzz/fuzz.h"

#include <regex.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "eeprom/identification.h"
#include "sections/section.h"
#include "tests/fakes/emulated_camera.h"

namespace {

constexpr long most_reads = 5'000'000;  // a whole image takes about 12,000
constexpr std::size_t largest_configuration = 4U << 20U;

struct Range {
  std::uint32_t from;
  std::uint32_t size;
};

// The payloads of the sections that the daemon knows, and the time stamp. Rows go by the position
// in the chain, a section's size by its type.
std::vector<Range> WritableBytes() {
  std::vector<Range> ranges = {{41, 4}};
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    const std::size_t rows = PayloadSize(Map_Rows(*node->map));
    const std::size_t size = std::max(rows, Section_PayloadSize(node->type));
    ranges.push_back({Section_FieldAddress(node->address, 0), static_cast<std::uint32_t>(size)});
  }
  return ranges;
}

// Everything else may only be written with what it held.
void CheckWrites(const std::vector<Range>& allowed, const std::vector<std::uint8_t>& before) {
  for (const Transfer& transfer : camera.writes) {
    const bool is_allowed = std::ranges::any_of(allowed, [&transfer](const Range& range) {
      // A piece of a field stays in the 64 KiB block in which it begins.
      return ((transfer.address - range.from) & 0xFFFFU) + transfer.size <= range.size;
    });
    const bool is_same = std::equal(transfer.bytes.begin(), transfer.bytes.begin() + transfer.size,
                                    &before[transfer.address]);
    if (!is_allowed && !is_same) Fail("a write outside, at", transfer.address);
  }
}

// Only numbers of the EEPROM's ever reach the shell.
void CheckActions() {
  static regex_t harmless = [] {
    regex_t compiled = {};
    if (regcomp(&compiled,
                "^(restore|listen|save|sleep 3|/bin/xmlcfg -g [^`$;|\"'<\n]*|"
                "echo \"(zoom|focus)=-?[0-9]+\" >> /mnt/mtd/lens_position_change)$",
                REG_EXTENDED | REG_NOSUB) != 0) {
      Fail("the expression of harmless commands");
    }
    return compiled;
  }();
  for (const std::string& action : camera.actions) {
    if (regexec(&harmless, action.c_str(), 0, nullptr, 0) != 0) Fail(action.c_str());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzOneInput({reinterpret_cast<const char*>(data), size});
  return 0;
}

void Fail(const char* what, unsigned long number) {
  (void)std::fprintf(stderr, "FAILED: %s (%lu)\n", what, number);
  std::abort();
}

void FitFilledCamera() {
  static EmulatedCamera filled;
  if (filled.files.empty()) {
    (void)std::freopen("/dev/null", "w", stdout);
    FitFactoryCamera();
    (void)StartDaemon();
    filled = camera;
  }
  camera = filled;
}

void StartAndCheck() {
  const auto before = camera.chip;
  const bool loaded = Nv_OpenConfig().root != nullptr;
  camera.writes.clear();
  camera.actions.clear();
  camera.reads = 0;
  const int found = StartDaemon();
  if (camera.reads > most_reads) Fail("too many bus reads in a start");
  if (loaded && Nv_OpenConfig().root == nullptr) Fail("device.conf can't be loaded any more");
  if (camera.files[device_conf].size() > largest_configuration) Fail("device.conf grows");
  auto allowed = WritableBytes();
  if (found == identification_empty) allowed.push_back({0, EEPROM_IMAGE_SIZE});
  if (found == identification_mismatch) allowed.push_back({0, 45});
  CheckWrites(allowed, before);
  CheckActions();
}

void SendAndCheck(std::string_view message) {
  const auto before = camera.chip;
  auto allowed = WritableBytes();
  if (message.starts_with("General.Brand.ProdNbr")) allowed = {{9, 32}};
  camera.writes.clear();
  camera.actions.clear();
  Nv_HandleCommand(message);
  CheckWrites(allowed, before);
  if (std::ranges::count(camera.actions, "save") != 0) Fail("a message saved device.conf");
  CheckActions();
}

std::string_view TakeUpTo(char end, std::string_view& input) {
  const std::string_view part = input.substr(0, input.find(end));
  input.remove_prefix(std::min(part.size() + 1, input.size()));
  return part;
}
