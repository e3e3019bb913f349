// SPDX-License-Identifier: MIT
#include "daemon/synchronise.h"

#include <syslog.h>

#include "config/change_propagation.h"
#include "config/store.h"
#include "daemon/control_socket.h"
#include "daemon/log.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "eeprom/restore.h"
#include "platform/host.h"

// A step that fails has said so, and leaves the others what there is: a daemon without its socket
// still restores, and one without a configuration still serves.
int Nv_Synchronise() {
  const int identification = Nv_CheckIdentification(eeprom_handle, Slot_Text(product_number));
  if (identification == identification_empty) {
    Nv_Print("eeprom is empty, starting eeprom initial...\n");
    (void)Nv_InitEEprom();
  } else if (identification == identification_mismatch) {
    Nv_Syslog(log_ident, LOG_INFO, "EEPROM product id not match");
    Nv_FactoryReset();
    Host_SleepSeconds(3);
  }
  (void)Nv_InitSocket();
  (void)Nv_ReadBackCheck();
  if (identification == identification_mismatch) {
    (void)Nv_ClampStreamSettings();
    (void)Nv_WriteIdentification();
  }
  return identification;
}
