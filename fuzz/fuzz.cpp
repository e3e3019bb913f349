// SPDX-License-Identifier: MIT
#include "fuzz/fuzz.h"

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

constexpr long most_reads = 5'000'000;  // a whole image takes 12,119
constexpr std::size_t largest_configuration = 4U << 20U;

struct Bytes {
  std::size_t address;
  std::size_t size;
};
using ByteRanges = std::vector<Bytes>;
constexpr Bytes time_stamp = {41, 4};
constexpr Bytes product_id = {9, 32};

// The commands, by the types of the sections that they may write to.
struct CommandEffect {
  std::string_view word;
  std::vector<SectionType> types;
};
const std::vector<CommandEffect> effects = {
    {"remove_stpf", {SectionType::stpf}},
    {"remove_user", {SectionType::sssc}},
    {"remove_record", {SectionType::srin, SectionType::srex}},
    {"remove_server", {SectionType::srex}},
    {"add_serverns", {SectionType::srex}},
    {"General.Brand.ProdNbr", {}},
};

bool Names(std::string_view paths, std::string_view key) {
  const RowPaths split = Map_SplitPaths(paths);
  return std::ranges::any_of(split.path, [key](std::string_view path) {
    return !path.empty() && key == Nv_FormatPath(path, NsIndex).data();
  });
}

void AddFields(ByteRanges& ranges, std::string_view key) {
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    const auto rows = Map_Rows(*node->map);
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (!Names(rows[row].paths, key)) continue;
      ranges.push_back({SectionList_FieldAddress(*node, row), rows[row].format.size});
    }
  }
}

// Rows go by the position in the chain, a section's size by its type.
void AddSections(ByteRanges& ranges, const std::vector<SectionType>& types) {
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    if (std::ranges::count(types, node->type) == 0) continue;
    const std::size_t rows = PayloadSize(Map_Rows(*node->map));
    ranges.push_back(
        {Section_FieldAddress(node->address, 0), std::max(rows, Section_PayloadSize(node->type))});
  }
}

ByteRanges BytesOfMessage(std::string_view message) {
  ByteRanges ranges;
  const std::string_view key = message.substr(0, message.find('='));
  if (key.size() == message.size()) return ranges;
  const auto effect = std::ranges::find_if(
      effects, [key](const CommandEffect& each) { return key.starts_with(each.word); });
  if (effect == effects.end()) {
    AddFields(ranges, key);
  } else {
    AddSections(ranges, effect->types);
  }
  ranges.push_back(effect == effects.end() || !effect->types.empty() ? time_stamp : product_id);
  return ranges;
}

// A restore may answer a setting that the camera can't do with the camera's own.
ByteRanges BytesOfStart(int found) {
  ByteRanges ranges = {time_stamp};
  if (found == identification_empty) ranges.push_back({0, EEPROM_IMAGE_SIZE});
  if (found == identification_mismatch) ranges.push_back({0, 45});
  AddFields(ranges, "ImageSource.I0.Config.CaptureMode");
  for (int profile = 0; profile < 4; ++profile) {
    AddFields(ranges, Nv_FormatPath("StreamProfile.I%d.Video.Resolution", profile).data());
    AddFields(ranges, Nv_FormatPath("StreamProfile.I%d.Video.FPS", profile).data());
  }
  return ranges;
}

// A piece of a field stays in the 64 KiB block in which it begins.
bool IsIn(const Transfer& transfer, const Bytes& range) {
  return ((transfer.address - range.address) & 0xFFFFU) + transfer.size <= range.size;
}

// Everything else may only be written with what it held.
void CheckWrites(const ByteRanges& allowed, const std::vector<std::uint8_t>& before) {
  for (const Transfer& transfer : camera.writes) {
    const bool is_allowed = std::ranges::any_of(
        allowed, [&transfer](const Bytes& range) { return IsIn(transfer, range); });
    const bool is_same = std::equal(transfer.bytes.begin(), transfer.bytes.begin() + transfer.size,
                                    &before[transfer.address]);
    if (!is_allowed && !is_same) Fail("a write outside, at", transfer.address);
  }
}

// Only numbers of the EEPROM's ever reach the shell.
bool IsHarmless(std::string_view action) {
  constexpr std::string_view end = "\" >> /mnt/mtd/lens_position_change";
  for (const std::string_view begin : {"echo \"zoom=", "echo \"focus="}) {
    if (!action.starts_with(begin) || !action.ends_with(end)) continue;
    action.remove_prefix(begin.size());
    action.remove_suffix(end.size());
    return action.find_first_not_of("-0123456789") == std::string_view::npos;
  }
  if (!action.starts_with("/bin/xmlcfg -g ")) {
    return action == "restore" || action == "sleep 3" || action == "listen" || action == "save";
  }
  return action.find_first_of("`$;|\"'<\n") == std::string_view::npos;
}

void CheckActions() {
  for (const std::string& action : camera.actions) {
    if (!IsHarmless(action)) Fail(action.c_str());
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
  CheckWrites(BytesOfStart(found), before);
  CheckActions();
}

void SendAndCheck(std::string_view message) {
  const auto before = camera.chip;
  const ByteRanges allowed = BytesOfMessage(message);
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
