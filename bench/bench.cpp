// SPDX-License-Identifier: MIT
// bench: what the daemon asks of the bus and of the processor. Bus transactions are counted on an
// emulated chip; processor time is this process's own, for filling and for reading back an image
// file. Run by hand (tools/bench); nothing here can fail.
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/restore.h"
#include "platform/i2c_bus.h"
#include "tests/fakes/emulated_camera.h"

namespace {

void Count(const char* what, const std::function<void()>& action) {
  camera.writes.clear();
  action();
  const auto count = static_cast<int>(camera.writes.size());
  (void)std::fprintf(stderr, "%-34s %6d transfers  (%.2f s of write cycles)\n", what, count,
                     count * 0.01);
}

double UserSeconds() {
  rusage usage{};
  (void)getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec) / 1e6;
}

void Time(const char* what, int rounds, const std::function<void()>& action) {
  const double before = UserSeconds();
  for (int i = 0; i < rounds; ++i) action();
  (void)std::fprintf(stderr, "%-34s %8.2f ms of user time\n", what,
                     (UserSeconds() - before) * 1000 / rounds);
}

void CountBusTransactions() {
  Count("fill the whole image", [] { (void)Nv_InitEEprom(); });
  (void)Nv_ReadBackCheck();
  Count("notice of a 2-byte field", [] { Nv_HandleCommand("General.System.HTTPPort=8080"); });
  Count("notice of a 32-byte text",
        [] { Nv_HandleCommand("General.Network.eth0.IPAddress=192.0.2.1"); });
  Count("remove_user", [] { Nv_HandleCommand("remove_user=1"); });
}

// The image adapter on a file of its own, as in the simulated camera.
void TimeImageFile() {
  char path[] = "/tmp/nvd-bench-XXXXXX";
  const int file = mkstemp(path);
  (void)close(file);
  eeprom_handle = I2c_Open(path);
  Time("fill an image file", 20, [] { (void)Nv_InitEEprom(); });
  (void)Nv_ReadBackCheck();  // what is not inverse settles
  Time("read an image file back", 20, [] { (void)Nv_ReadBackCheck(); });
  (void)EEprom_Close(eeprom_handle);
  (void)unlink(path);
}

}  // namespace

int main() {
  FitFactoryCamera();
  (void)Nv_FindNetworkStorageIndex();
  CountBusTransactions();
  TimeImageFile();
  return 0;
}
