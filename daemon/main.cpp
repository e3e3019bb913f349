// SPDX-License-Identifier: MIT
// A camera's day: one of four starts, then change notices until SIGTERM.
//
// No step's result stops the day: each has said what failed, and a camera goes on with what it has.
#include <pthread.h>
#include <syslog.h>

#include <cstdio>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/control_socket.h"
#include "daemon/log.h"
#include "daemon/pid_file.h"
#include "daemon/reset_button.h"
#include "daemon/signals.h"
#include "daemon/synchronise.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "platform/host.h"

namespace {

// For `strings`: the daemon takes no arguments, so nothing can ask it which version it is. Nothing
// in the program reads this either; the compiler and the linker are told to keep it all the same.
[[gnu::used, gnu::retain]] constexpr char version[] = "nvd " NVD_VERSION;

// The reset button is held: the EEPROM is rebuilt from the factory configuration.
void Reset() {
  Nv_Print("Reset detected, clear EEPROM...\n");
  pthread_t blink{};
  const bool blinking = pthread_create(&blink, nullptr, Nv_ResetLedBlink, nullptr) == 0;
  if (!blinking) Nv_Syslog(log_ident, LOG_ERR, "Can't not create led blink thread");
  Nv_ClearEepromHeader();
  Nv_FactoryReset();
  (void)Nv_InitEEprom();
  (void)EEprom_Close(eeprom_handle);
  led_stop_flag = 1;
  if (blinking) (void)pthread_join(blink, nullptr);
  Nv_FinishLedBlink();  // on a board with a status LED, the camera stays here
}

// The I/O board is in the factory's test set-up: the EEPROM is left alone.
void LeaveTestBoardAlone() {
  Nv_Print("mft I/O board\n");
  (void)EEprom_Close(eeprom_handle);
  Nv_WritePidFile();
}

// Change notices until SIGTERM.
void Serve() {
  Nv_WritePidFile();
  do {
    (void)Nv_HandleSocket();
  } while (quit_flag == 0);
  Nv_CloseSocket();
  section_list.clear();
  (void)EEprom_Close(eeprom_handle);
  Nv_RemovePidFile();
}

}  // namespace

int main() {
  Host_ReserveStandardDescriptors();
  // A line is in the journal when it happens, and none is lost when the process is killed.
  (void)std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  Nv_InstallSignalHandlers();
  eeprom_handle = EEprom_Open();
  if (eeprom_handle < 0) {
    Nv_Print("nvd: open I2C device error\n");
    return 0;
  }
  (void)Nv_LoadProductNumber();
  (void)Nv_FindNetworkStorageIndex();
  if (Nv_CheckResetButton() == 0) {
    Reset();
  } else if (Nv_IsMftBoard(eeprom_handle)) {
    LeaveTestBoardAlone();
  } else {
    (void)Nv_Synchronise();
    Serve();
  }
  return 0;
}
