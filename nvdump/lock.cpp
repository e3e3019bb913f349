// SPDX-License-Identifier: MIT
// Asks for the device's lock without touching it: a lock that is taken to find out, however short,
// keeps a daemon that starts in that moment from its device.
#include "nvdump/lock.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cstdio>
#include <string>

#include "platform/file.h"

bool Device_IsLocked(int fd) {
  struct stat device {};
  std::string locks;
  if (fstat(fd, &device) != 0 || File_Read("/proc/locks", locks) != 0) return false;
  // "1: FLOCK  ADVISORY  WRITE 4711 00:05:123 0 EOF"
  std::array<char, 64> file{};
  (void)std::snprintf(file.data(), file.size(), " %02x:%02x:%s ", major(device.st_dev),
                      minor(device.st_dev), std::to_string(device.st_ino).c_str());
  for (std::size_t at = 0; (at = locks.find(file.data(), at)) != std::string::npos; ++at) {
    const std::size_t line = locks.rfind('\n', at) + 1;  // 0 in the first line
    if (locks.substr(line, at - line).find("FLOCK") != std::string::npos) return true;
  }
  return false;
}
