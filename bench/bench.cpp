// SPDX-License-Identifier: MIT
// bench: what the daemon asks of the bus and of the processor. Bus transactions are counted on an
// emulated chip beside the number that the transfer rules give; processor time is this process's
// own, for filling and for reading back an image file. Run by hand (tools/bench); nothing here can
// fail.
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/restore.h"
#include "param/section_map.h"
#include "platform/file.h"
#include "platform/i2c_bus.h"
#include "sections/section.h"
#include "tests/fakes/emulated_camera.h"

namespace {

// By the rules alone: two bytes a transfer from the start of each piece of at most 4 bytes, a
// single last byte alone, and a pair that begins at the last byte of a 256-byte page as two.
int PieceTransfers(std::uint32_t address, std::uint32_t size) {
  int transfers = 0;
  while (size > 0) {
    const bool pair = size > 1;
    transfers += pair && address % 256 == 255 ? 2 : 1;
    address += pair ? 2 : 1;
    size -= pair ? 2 : 1;
  }
  return transfers;
}

int FieldTransfers(std::uint32_t address, std::uint32_t size) {
  int transfers = 0;
  for (std::uint32_t i = 0; i < size; i += 4) {
    transfers += PieceTransfers(address + i, std::min(size - i, std::uint32_t{4}));
  }
  return transfers;
}

int HeaderTransfers(std::uint32_t address) {
  return FieldTransfers(address, 4) + FieldTransfers(address + 4, 1) +
         FieldTransfers(address + 5, 4);
}

int ImageTransfers() {
  int transfers = HeaderTransfers(0) + FieldTransfers(9, 32) + FieldTransfers(41, 4);
  std::uint32_t address = 45;
  for (std::size_t i = 1; i < chain_sections; ++i) {
    const SectionMap& map = section_maps[i];
    transfers += HeaderTransfers(address);
    address += 9;
    for (const Field& field : map.fields) {
      transfers += FieldTransfers(address, field.format.size);
      address += field.format.size;
    }
  }
  return transfers;
}

int CountTransfers(const std::function<void()>& action) {
  camera.writes.clear();
  action();
  return static_cast<int>(camera.writes.size());
}

void Print(const char* what, int counted, int expected) {
  (void)std::fprintf(stderr, "%-34s %6d transfers, %6d by the rules  (%.2f s of write cycles)\n",
                     what, counted, expected, counted * 0.01);
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
  const int stamp = FieldTransfers(41, 4);
  Print("fill the whole image", CountTransfers([] { (void)Nv_InitEEprom(); }), ImageTransfers());
  (void)Nv_ReadBackCheck();
  Print("notice of a 2-byte field",
        CountTransfers([] { Nv_HandleCommand("General.System.HTTPPort=8080"); }),
        FieldTransfers(582 + 9 + 162, 2) + stamp);
  Print("notice of a 32-byte text",
        CountTransfers([] { Nv_HandleCommand("General.Network.eth0.IPAddress=192.0.2.1"); }),
        FieldTransfers(582 + 9 + 1, 32) + stamp);
  Print("remove_user", CountTransfers([] { Nv_HandleCommand("remove_user=1"); }),
        FieldTransfers(248 + 9 + 64, 32) + FieldTransfers(248 + 9 + 224, 32) +
            FieldTransfers(248 + 9 + 322, 1) + 3 * stamp);
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
