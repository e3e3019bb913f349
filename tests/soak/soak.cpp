// SPDX-License-Identifier: MIT
// soak: many senders at once at a simulated camera's daemon. Each changes settings of its own in
// device.conf, then sends the notices, between messages of every other kind. In the middle the
// EEPROM refuses writes behind an address for a while. In the end EEPROM and configuration must
// agree, and the daemon must not have grown. With 0 messages, only looks whether they agree.
//
// Exit status: 0 all is well, 1 it is not, 3 the daemon went away.
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "platform/libcfg.h"

namespace {

struct Setting {
  const char* path;
  std::size_t address;
  std::size_t size;  // 2: a number, else a text
};
// Plain texts and numbers, so that this table needs nothing of the daemon's.
constexpr std::array settings = {
    Setting{"General.Time.NTP.ManualServer1", 0x0058, 32},
    Setting{"General.Network.eth0.IPAddress", 0x0250, 32},
    Setting{"General.Network.eth0.SubnetMask", 0x0270, 32},
    Setting{"General.Network.eth0.DNSServer1", 0x02B1, 32},
    Setting{"General.System.HTTPPort", 0x02F1, 2},
    Setting{"General.Network.RTSP.Port", 0x02F3, 2},
    Setting{"StreamProfile.I0.Video.Description", 0x1463, 64},
    Setting{"StreamProfile.I1.Video.Description", 0x19A9, 64},
    Setting{"StreamProfile.I3.Video.Name", 0x22B8, 32},
    Setting{"Event.MemoryCard.Media.PreAlarm", 0x2802, 2},
    Setting{"Event.MemoryCard.Media.PostAlarm", 0x2804, 2},
    Setting{"Event.Scheduled.S0.Name", 0x29C8, 64},
};
constexpr std::size_t senders = 6;
constexpr std::size_t refused_from = 0x1800;  // while the bus fault lasts
constexpr long most_growth_kb = 256;

// Messages that change none of the settings above.
const std::vector<std::string> others = {"",
                                         "=",
                                         "no key",
                                         "No.Such.Path=1",
                                         "Image.OSD.Date=on",
                                         "Image.OSD.Alias=Yard",
                                         "General.UserID.U1.User=Y2Fyb2w6c2VjcmV0,00010001",
                                         "StreamProfile.I2.Video.Resolution=640x480",
                                         "ImageSource.I0.Sensor.Flip=on",
                                         "Audio.AudioSource.A0.AudioInputGain=mute",
                                         "remove_user=3",
                                         "remove_record=9",
                                         "remove_stpf=2",
                                         "remove_server=9",
                                         "add_serverns=0",
                                         "Event.Server.S0.Location=//nas/yard",
                                         std::string(500, '='),
                                         std::string("\0\xFF\1=x", 5)};

std::string device_file;
std::string eeprom_file;
int pid;
std::mutex file_lock;  // the camera's programs take turns at device.conf
std::atomic<long> sent;
std::atomic<bool> gone;

// Sends a message and waits until the daemon has closed the connection.
void Send(const std::string& message) {
  constexpr timeval patience = {.tv_sec = 30, .tv_usec = 0};
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "nv.sck");
  char unused = 0;
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  (void)setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  const bool handled =
      connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      send(fd, message.data(), message.size(), MSG_NOSIGNAL) >= 0 && shutdown(fd, SHUT_WR) == 0 &&
      (recv(fd, &unused, 1, 0) == 0 || errno == ECONNRESET);
  (void)close(fd);
  if (!handled) gone = true;
  ++sent;
}

std::string ValueIn(cfg_node* root, const char* path) {
  std::array<char, 128> value{};
  (void)cfg_get_param_value(cfg_find_param_node(root, path), value.data(), value.size());
  return value.data();
}

// Gives every `step`-th setting from `first` on a new value, then tells the daemon.
void Change(std::mt19937& random, std::size_t first, std::size_t step) {
  std::vector<std::string> notices;
  {
    const std::lock_guard lock(file_lock);
    cfg_handle* handle = cfg_init(device_file.c_str());
    cfg_node* root = cfg_find_param_node(handle, "root");
    for (std::size_t i = first; i < settings.size(); i += step) {
      std::string value = std::to_string(1 + random() % 65535);
      if (settings[i].size > 2) value.append(random() % (settings[i].size - value.size()), 'x');
      (void)cfg_set_param_value(cfg_find_param_node(root, settings[i].path), value.c_str());
      notices.push_back(std::string(settings[i].path) + "=" + value);
    }
    if (cfg_save_file(handle, device_file.c_str()) != 0) std::perror("soak: save");
    cfg_deinit(handle);
  }
  for (const std::string& notice : notices) Send(notice);
}

void Sender(std::size_t number, unsigned seed, long until) {
  std::mt19937 random(seed + static_cast<unsigned>(number));
  while (sent < until && !gone) {
    Change(random, number, senders);
    for (std::size_t n = random() % 12; n > 0 && !gone; --n) Send(others[random() % others.size()]);
  }
}

void RunSenders(unsigned seed, long until) {
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < senders; ++i) threads.emplace_back(Sender, i, seed, until);
  for (std::thread& thread : threads) thread.join();
}

std::string Eeprom() {
  std::string content;
  (void)File_Read(eeprom_file.c_str(), content);
  content.resize(12074);
  return content;
}

int CountDisagreements() {
  int count = 0;
  const std::string eeprom = Eeprom();
  cfg_handle* handle = cfg_init(device_file.c_str());
  cfg_node* root = cfg_find_param_node(handle, "root");
  for (const Setting& setting : settings) {
    const std::string value = ValueIn(root, setting.path);
    std::string stored = eeprom.substr(setting.address, setting.size);
    if (setting.size == 2) {
      stored = std::to_string(256 * static_cast<unsigned char>(stored[0]) +
                              static_cast<unsigned char>(stored[1]));
    } else {
      stored = stored.c_str();
    }
    if (stored == value) continue;
    (void)std::printf("DISAGREE: %s: '%s' in device.conf, '%s' in the EEPROM\n", setting.path,
                      value.c_str(), stored.c_str());
    ++count;
  }
  cfg_deinit(handle);
  return count;
}

// The chip refuses every write from an address on, while the notices go on. The kernel does that
// for a file size limit, if the daemon was started with the signal for it ignored.
int RefuseWritesForAWhile(std::mt19937& random) {
  constexpr rlimit refusing = {.rlim_cur = refused_from, .rlim_max = RLIM_INFINITY};
  rlimit before{};
  const std::string eeprom = Eeprom();
  if (prlimit(pid, RLIMIT_FSIZE, &refusing, &before) != 0) return std::perror("prlimit"), 1;
  for (int i = 0; i < 50 && !gone; ++i) Change(random, 0, 1);
  int wrong = Eeprom().substr(refused_from) == eeprom.substr(refused_from) ? 0 : 1;
  if (wrong != 0) (void)std::puts("WRONG: the chip has taken a write that it refused");
  for (const Setting& setting : settings) {  // what it takes still arrives
    if (setting.address >= refused_from) continue;
    const std::string path = setting.path;
    cfg_handle* handle = cfg_init(device_file.c_str());
    const std::string value = ValueIn(cfg_find_param_node(handle, "root"), setting.path);
    cfg_deinit(handle);
    if (setting.size > 2 && Eeprom().compare(setting.address, value.size(), value) != 0) ++wrong;
  }
  if (prlimit(pid, RLIMIT_FSIZE, &before, nullptr) != 0) return std::perror("prlimit"), 1;
  (void)std::printf("bus fault: 50 rounds of notices, writes from 0x%zx on refused: %s\n",
                    refused_from, wrong == 0 ? "none arrived, all others did" : "WRONG");
  return wrong;
}

bool IgnoresTheLimitsSignal() {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (!line.starts_with("SigIgn:")) continue;
    return (std::stoull(line.substr(7), nullptr, 16) >> (SIGXFSZ - 1) & 1U) != 0;
  }
  return false;
}

struct Footprint {
  long memory_kb = 0;
  long descriptors = 0;
};

Footprint Measure() {
  Footprint now;
  const std::string process = "/proc/" + std::to_string(pid);
  std::ifstream status(process + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) now.memory_kb = std::stol(line.substr(6));
  }
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(process + "/fd", none)) {
    now.descriptors += entry.path().empty() ? 0 : 1;
  }
  return now;
}

int Soak(long messages, unsigned seed) {
  std::mt19937 random(seed);
  RunSenders(seed, messages / 10);
  const Footprint early = Measure();
  RunSenders(seed + 100, messages / 2);
  int wrong = 0;
  if (gone) return 3;
  if (IgnoresTheLimitsSignal()) {
    wrong += RefuseWritesForAWhile(random);
  } else {
    (void)std::puts("no bus fault: the daemon was not started with SIGXFSZ ignored");
  }
  RunSenders(seed + 200, messages);
  Change(random, 0, 1);
  if (gone) return 3;
  const Footprint late = Measure();
  (void)std::printf("%ld messages of %zu senders; memory %ld -> %ld KB, descriptors %ld -> %ld\n",
                    sent.load(), senders, early.memory_kb, late.memory_kb, early.descriptors,
                    late.descriptors);
  if (late.memory_kb > early.memory_kb + most_growth_kb || late.descriptors > early.descriptors) {
    (void)std::puts("WRONG: the daemon grows");
    ++wrong;
  }
  return wrong == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 4) {
    (void)std::fputs("usage: soak STATE-FOLDER-OF-THE-CAMERA MESSAGES SEED\n", stderr);
    return 2;
  }
  const std::string state = argv[1];
  device_file = state + "/etc/device.conf";
  eeprom_file = state + "/eeprom";
  std::string text;
  (void)File_Read((state + "/run/nvd.pid").c_str(), text);
  pid = std::atoi(text.c_str());
  // A socket's path may have at most 107 characters.
  if (pid <= 0 || chdir((state + "/tmp").c_str()) != 0) return 3;

  const long messages = std::atol(argv[2]);
  const int result = messages > 0 ? Soak(messages, static_cast<unsigned>(std::atol(argv[3]))) : 0;
  if (gone) return 3;
  return CountDisagreements() == 0 ? result : 1;
}
