// SPDX-License-Identifier: MIT
#include "tests/fakes/emulated_camera.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/synchronise.h"
#include "eeprom/i2c_eeprom.h"
#include "platform/file.h"
#include "platform/host.h"
#include "platform/i2c_bus.h"
#include "platform/libnetwork.h"
#include "platform/shell.h"

EmulatedCamera camera;

namespace {

constexpr std::uint32_t page_mask = 0xFF;

// The first `count` bytes of a transfer arrive.
void Keep(std::vector<std::uint8_t>& chip, const Transfer& transfer, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t in_page = (transfer.address + i) & page_mask;
    chip.at((transfer.address & ~page_mask) | in_page) = transfer.bytes[i];
  }
}

int OnRequest(int fd, unsigned long request, unsigned long argument) {
  const bool selects_chip = request == I2C_SLAVE_FORCE;
  Record(selects_chip ? "" : "w", std::array{static_cast<std::uint8_t>(argument)}, " ");
  (void)I2c_Select(fd, request, argument);
  if (selects_chip) return 0;
  return camera.questions++ == camera.refuse_question ? -1 : camera.width_answer;
}

ssize_t OnWrite(int, std::span<const std::uint8_t> buffer) {
  Record("[", buffer, "] ");
  Transfer transfer = {static_cast<std::uint32_t>(I2c_FlatAddress(buffer)), {}, 0};
  transfer.size = static_cast<std::uint32_t>(I2c_Data(buffer, transfer.bytes).size());
  const auto number = std::ssize(camera.writes);
  camera.writes.push_back(transfer);
  if (camera.absent || number == camera.refuse_write) return -1;
  Keep(camera.chip, transfer, transfer.size);
  return std::ssize(buffer);
}

ssize_t OnRead(int, std::span<std::uint8_t> buffer) {
  Record("(", buffer, ") ");
  if (camera.absent || camera.questions++ == camera.refuse_question) return -1;
  buffer[0] = camera.chip.at(I2c_FlatAddress(buffer));
  return std::ssize(buffer);
}

constexpr I2cAdapter adapter = {"emulated", nullptr, OnRequest,
                                OnWrite,    OnRead,  Host_SleepMicroseconds};

}  // namespace

void Record(std::string_view before, std::span<const std::uint8_t> bytes, const char* behind) {
  if (!camera.records) return;
  constexpr std::string_view digits = "0123456789ABCDEF";
  camera.bus += before;
  for (const std::uint8_t& byte : bytes) {
    if (&byte != bytes.data()) camera.bus += ' ';
    camera.bus += {digits[byte / 16], digits[byte % 16]};
  }
  camera.bus += behind;
}

// The host's system log and sockets are not for tests.
void openlog(const char*, int, int) {}
void syslog(int, const char*, ...) {}
void closelog() {}
int set_nonblocking(int) { return -1; }
int unix_socket_open(const char*) {
  camera.actions.emplace_back("listen");
  return -1;
}

void Host_ReserveStandardDescriptors() {}
std::uint32_t Host_Time() { return 0x01020304; }
void Host_SleepMicroseconds(unsigned microseconds) {
  Record(microseconds == 10000 ? "~" : "~?", {}, " ");
}
void Host_SleepSeconds(unsigned seconds) {
  camera.actions.push_back("sleep " + std::to_string(seconds));
}

int Shell_Run(const char* command) {
  camera.actions.emplace_back(command);
  if (camera.actions.back() == "restore") camera.files[device_conf] = camera.factory_file;
  return 0;
}

// The only command that is ever asked for a word is the configuration tool.
bool Shell_ReadFirstWord(const char* command, std::span<char> word) {
  camera.actions.emplace_back(command);
  const std::string words = std::string(command).substr(15);  // "/bin/xmlcfg -g PATH ..."
  const std::string path = words.substr(0, words.find(' '));
  const std::string answer = path + "=" + Parameter(path);
  (void)std::snprintf(word.data(), word.size(), "%s", answer.substr(0, answer.find(' ')).c_str());
  return true;
}

bool File_Exists(const char* path) { return camera.files.contains(path); }

int File_Read(const char* path, std::string& content) {
  const auto file = camera.files.find(path);
  if (file == camera.files.end()) return -1;
  content = file->second;
  return 0;
}

int File_Update(const char* path, const FileChange& change) {
  const auto file = camera.files.find(path);
  std::string next;
  if (!change(file == camera.files.end() ? nullptr : &file->second, next)) return -1;
  camera.actions.emplace_back("save");
  camera.files[path] = next;
  return 0;
}

void FitCamera(const Parameters& parameters) {
  camera = EmulatedCamera();
  camera.files[device_conf] = "<root></root>";
  for (const auto& [path, value] : parameters) SetParameter(path, value);
  camera.factory_file = camera.files[device_conf];
  camera.actions.clear();
  (void)I2c_UseAdapter(&adapter);
  eeprom_handle = 7;  // any number; nothing but the adapter sees it
  section_list.clear();
  NsIndex = 0;
  Nv_SetProductNumber("CAM-1");
}

void FitFactoryCamera() {
  FitCamera();
  const std::filesystem::path folder = CAMERA_FOLDER;
  const auto load = [](const std::filesystem::path& path) {
    return (std::ostringstream() << std::ifstream(path).rdbuf()).str();
  };
  camera.files[device_conf] = camera.factory_file = load(folder / "device.conf");
  for (const auto& entry : std::filesystem::directory_iterator(folder / "template")) {
    camera.files["/opt/template/" + entry.path().filename().string()] = load(entry.path());
  }
}

std::string Parameter(const std::string& path) {
  const ConfigFile config = Nv_OpenConfig();
  cfg_node* node =
      config.root == nullptr ? nullptr : cfg_find_param_node(config.root, path.c_str());
  return node == nullptr ? "(none)" : Nv_NodeValue(node).data();
}

void SetParameter(const std::string& path, const std::string& value) {
  const ConfigFile config = Nv_OpenConfig();
  cfg_node* node = config.root == nullptr ? nullptr : cfg_add_param_node(config.root, path.c_str());
  if (node != nullptr && cfg_set_param_value(node, value.c_str()) == 0) {
    (void)cfg_save_file(config.handle.get(), device_conf);
  }
}

int StartDaemon() {
  Nv_SetProductNumber("");
  NsIndex = 0;
  (void)Nv_LoadProductNumber();
  (void)Nv_FindNetworkStorageIndex();
  return Nv_Synchronise();
}

std::string Stored(std::size_t address, std::size_t size) {
  const auto start = camera.chip.begin() + static_cast<std::ptrdiff_t>(address);
  return {start, start + static_cast<std::ptrdiff_t>(size)};
}

void Store(std::size_t address, std::string_view bytes) {
  std::copy(bytes.begin(), bytes.end(), &camera.chip.at(address));
}

std::string WrittenBy(const std::function<void()>& action) {
  camera.writes.clear();
  action();
  std::vector<std::array<std::uint32_t, 2>> runs;  // from where to where
  for (const auto& [address, bytes, size] : camera.writes) {
    if (runs.empty() || runs.back()[1] != address) runs.push_back({address, address});
    runs.back()[1] += size;
  }
  std::string text;
  for (const auto& [start, end] : runs) {
    text += (text.empty() ? "" : " ") + std::to_string(start) + "+" + std::to_string(end - start);
  }
  return text;
}

void ForEachCut(const std::function<void()>& action, const std::function<void()>& check) {
  const auto files = camera.files;
  std::vector image(camera.chip.begin(), camera.chip.begin() + 0x4000);
  camera.writes.clear();
  action();
  const auto transfers = std::exchange(camera.writes, {});
  for (const Transfer& whole : transfers) {
    for (const int way : {0, 1, 2}) {
      camera.files = files;
      std::ranges::copy(image, camera.chip.begin());
      if (way == 1) Keep(camera.chip, whole, 1);
      if (way == 2) Keep(camera.chip, {whole.address, {0xA5, 0xA5}, whole.size}, whole.size);
      check();
    }
    Keep(image, whole, whole.size);
  }
  std::ranges::copy(image, camera.chip.begin());
}

std::string TrafficOf(const std::function<void()>& action) {
  camera.bus.clear();
  camera.records = true;
  action();
  camera.records = false;
  return camera.bus;
}

std::string OutputOf(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  (void)std::fflush(stdout);
  const std::string output = testing::internal::GetCapturedStdout();
  // A failed check inside the action has printed its reason into the capture.
  if (testing::Test::HasFailure()) (void)std::fputs(output.c_str(), stdout);
  return output;
}
