// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_camera.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "eeprom/identification.h"
#include "tests/fakes/fake_chip.h"
#include "tests/fakes/fake_daemon.h"
#include "tests/fakes/fake_machine.h"

namespace {

constexpr std::size_t image_size = 12074;
constexpr long most_reads = 5'000'000;  // a whole image takes 12,119
constexpr std::size_t most_sections = 20'000;
constexpr std::size_t largest_configuration = 4U << 20U;

std::vector<std::uint8_t> Chip() { return {chip.bytes.begin(), chip.bytes.end()}; }

std::string Load(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) Fail(path.c_str());
  return {std::istreambuf_iterator<char>(file), {}};
}

std::map<std::string, std::string> LoadFiles() {
  const std::filesystem::path folder = CAMERA_FOLDER;
  std::map<std::string, std::string> files = {{device_conf, Load(folder / "device.conf")}};
  for (const auto& entry : std::filesystem::directory_iterator(folder / "template")) {
    files["/opt/template/" + entry.path().filename().string()] = Load(entry.path());
  }
  return files;
}

// Only numbers of the EEPROM's ever reach the shell.
bool IsHarmless(std::string_view command) {
  if (command == "restore" || command.starts_with("/bin/xmlcfg -g ")) {
    return command.find_first_of("`$;|\"'<\n") == std::string_view::npos;
  }
  const auto number = [&command](std::string_view before, std::string_view behind) {
    if (!command.starts_with(before) || !command.ends_with(behind)) return false;
    command.remove_prefix(before.size());
    command.remove_suffix(behind.size());
    return command.find_first_not_of("-0123456789") == std::string_view::npos;
  };
  constexpr std::string_view end = "\" >> /mnt/mtd/lens_position_change";
  return number("echo \"zoom=", end) || number("echo \"focus=", end);
}

void CheckCommands() {
  for (const std::string& command : machine.commands) {
    if (!IsHarmless(command)) Fail(command.c_str());
  }
  machine.commands.clear();
}

// A restore may answer a setting that the camera can't do with the camera's own.
AddressSet BytesOfStart(int found) {
  AddressSet bytes(chip.bytes.size());
  if (found == identification_empty) MarkBytes(bytes, 0, image_size);
  MarkBytes(bytes, found == identification_mismatch ? 0 : 41,
            found == identification_mismatch ? 45 : 4);
  MarkMessage(bytes, "ImageSource.I0.Config.CaptureMode=");
  for (const std::string profile : {"0", "1", "2", "3"}) {
    MarkMessage(bytes, "StreamProfile.I" + profile + ".Video.Resolution=");
    MarkMessage(bytes, "StreamProfile.I" + profile + ".Video.FPS=");
  }
  return bytes;
}

}  // namespace

void Fail(const char* what, long number) {
  (void)std::fprintf(stderr, "FAILED: %s (%ld)\n", what, number);
  std::abort();
}

void FitFactoryCamera() {
  static std::vector<std::uint8_t> filled;
  static std::map<std::string, std::string> files;
  if (filled.empty()) {
    (void)std::freopen("/dev/null", "w", stdout);
    FitFakeCamera();
    machine.files = files = LoadFiles();
    (void)StartDaemon();
    filled = Chip();
  }
  FitFakeChip();
  chip.records = false;
  std::copy(filled.begin(), filled.end(), chip.bytes.begin());
  machine = FakeMachine();
  machine.files = files;
  machine.shell = [](const std::string& command) {
    if (command == "restore") machine.files[device_conf] = files[device_conf];
  };
}

void StartAndCheck() {
  const auto before = Chip();
  const bool loaded = Nv_OpenConfig().root != nullptr;
  chip.reads = 0;
  const int found = StartDaemon();
  if (chip.reads > most_reads) Fail("bus reads of a start", chip.reads);
  std::size_t sections = 0;
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    ++sections;
  }
  if (sections > most_sections) Fail("sections", static_cast<long>(sections));
  if (loaded && Nv_OpenConfig().root == nullptr) Fail("device.conf can't be loaded any more");
  if (machine.files[device_conf].size() > largest_configuration) Fail("device.conf grows");
  const long stray = FirstStrayByte(BytesOfStart(found), before);
  if (stray >= 0) Fail("a start wrote at", stray);
  CheckCommands();
}

void SendAndCheck(std::string_view message, std::size_t chip_bytes) {
  const std::vector<std::uint8_t> before(chip.bytes.begin(), &chip.bytes[chip_bytes]);
  const int saves = machine.saves;
  AddressSet allowed(chip_bytes);
  MarkMessage(allowed, message);
  Nv_HandleCommand(message);
  const long stray = FirstStrayByte(allowed, before);
  if (stray >= 0) Fail("a message wrote at", stray);
  if (machine.saves != saves) Fail("a message saved device.conf");
  CheckCommands();
}

std::string_view TakeUpTo(char end, std::string_view& input) {
  const std::string_view part = input.substr(0, input.find(end));
  input.remove_prefix(std::min(part.size() + 1, input.size()));
  return part;
}
