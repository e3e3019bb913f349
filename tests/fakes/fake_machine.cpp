// SPDX-License-Identifier: MIT
#include "tests/fakes/fake_machine.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <cstring>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/log.h"
#include "platform/file.h"
#include "platform/host.h"
#include "platform/libcfg.h"
#include "platform/libnetwork.h"
#include "tests/fakes/fake_chip.h"

FakeMachine machine;

// The host's system log is not for tests.
void openlog(const char*, int, int) {}
void syslog(int, const char*, ...) {}
void closelog() {}

// No program reports to this machine.
int unix_socket_open(const char*) { return -1; }
int set_nonblocking(int) { return -1; }

void Host_ReserveStandardDescriptors() {}
std::uint32_t Host_Time() { return machine.time; }
void Host_SleepMicroseconds(unsigned) {}
void Host_SleepSeconds(unsigned) {}

int Host_RunCommand(const char* command) {
  machine.commands.emplace_back(command);
  if (machine.shell) machine.shell(command);
  return 0;
}

// The only command that is ever asked for a word is the configuration tool.
bool Host_ReadFirstWord(const char* command, std::span<char> word) {
  machine.commands.emplace_back(command);
  std::array<char, 128> path{};
  if (std::sscanf(command, "/bin/xmlcfg -g %127s", path.data()) != 1) return false;
  const std::string answer = std::string(path.data()) + "=" + Parameter(path.data());
  (void)std::snprintf(word.data(), word.size(), "%s", answer.substr(0, answer.find(' ')).c_str());
  return true;
}

bool File_Exists(const char* path) { return machine.files.contains(path); }

int File_Read(const char* path, std::string& content) {
  const auto file = machine.files.find(path);
  if (file == machine.files.end()) return -1;
  content = file->second;
  return 0;
}

int File_Update(const char* path, const FileChange& change) {
  ++machine.saves;
  std::string next;
  const auto file = machine.files.find(path);
  if (machine.disk_full || !change(file == machine.files.end() ? nullptr : &file->second, next)) {
    return -1;
  }
  machine.files[path] = next;
  return 0;
}

void FitFakeCamera(const std::map<std::string, std::string>& parameters) {
  machine = FakeMachine();
  machine.files[device_conf] = "<root></root>";
  for (const auto& [path, value] : parameters) SetParameter(path, value);
  machine.saves = 0;
  FitFakeChip();
  SectionList_Free();
  NsIndex = 0;
  debug_flag = 0;
  Nv_SetProductNumber("CAM-1");
}

std::string Parameter(const std::string& path) {
  const ConfigFile config = Nv_OpenConfig();
  ValueSlot value;
  if (config.root == nullptr || !Nv_ReadParameter(config.root, path.c_str(), value))
    return "(none)";
  return value.data();
}

void SetParameter(const std::string& path, const std::string& value) {
  const ConfigFile config = Nv_OpenConfig();
  (void)cfg_set_param_value(cfg_add_param_node(config.root, path.c_str()), value.c_str());
  (void)cfg_save_file(config.handle.get(), device_conf);
}

std::string OutputOf(const std::function<void()>& action) {
  const bool failed_before = testing::Test::HasFailure();
  testing::internal::CaptureStdout();
  action();
  (void)std::fflush(stdout);
  const std::string output = testing::internal::GetCapturedStdout();
  // A failed check inside the action has printed its reason into the capture.
  if (!failed_before && testing::Test::HasFailure()) (void)std::fputs(output.c_str(), stdout);
  return output;
}
