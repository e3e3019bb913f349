// SPDX-License-Identifier: MIT
#include "daemon/reset_button.h"

#include "daemon/log.h"
#include "eeprom/i2c_eeprom.h"
#include "platform/board_info.h"
#include "platform/gpio.h"
#include "platform/host.h"

std::atomic<int> led_stop_flag;

namespace {

constexpr const char* gpio_path = "/dev/gpio";
constexpr unsigned fast_half_period_us = 250000;
constexpr unsigned slow_rest_us = 1500000;
constexpr unsigned slow_flash_us = 500000;

BoardInfo board;

int OpenGpio(const char* function) {
  const int fd = Gpio_Open(gpio_path);
  if (fd < 0) Nv_Print("%s: Failed to open GPIO device\n", function);
  return fd;
}

int SampleButton(int fd) {
  int level = Gpio_Request(fd, GPIO_REQUEST_INPUT, board.reset_button_gpio);
  if (level >= 0) level = Gpio_Request(fd, GPIO_REQUEST_READ, board.reset_button_gpio);
  if (level >= 0) return level;
  Nv_Print("%s: ioctl error\n", "Nv_CheckResetButton");
  return -1;
}

// A refused request leaves the LED as it is; there is nobody to tell.
void DriveLed(int fd, unsigned long request) {
  (void)Gpio_Request(fd, request, board.status_led_gpio);
}

}  // namespace

int Nv_CheckResetButton() {
  const int fd = OpenGpio("Nv_CheckResetButton");
  if (fd < 0) return -1;
  switch (BoardInfo_Read(board)) {
    case BoardInfoResult::no_segment:
      Nv_Print("%s : shm get fail\n", "Nv_CheckResetButton");
      return -1;  // the descriptor stays open for the life of the process
    case BoardInfoResult::not_attached:
      Nv_Print("%s : shm attach fail\n", "Nv_CheckResetButton");
      return -1;
    case BoardInfoResult::ok:
      break;
  }
  const int level = SampleButton(fd);
  Gpio_Close(fd);
  return level;
}

void* Nv_ResetLedBlink(void* /*unused*/) {
  const int fd = OpenGpio("Nv_ResetLedBlink");
  if (fd < 0) return nullptr;
  if (board.status_led_gpio > 0) {
    DriveLed(fd, GPIO_REQUEST_DRIVE_RESTING);
    while (led_stop_flag == 0) {
      Host_SleepMicroseconds(fast_half_period_us);
      if (led_stop_flag != 0) break;
      DriveLed(fd, GPIO_REQUEST_DRIVE_ACTIVE);
      Host_SleepMicroseconds(fast_half_period_us);
      DriveLed(fd, GPIO_REQUEST_DRIVE_RESTING);
    }
  }
  Gpio_Close(fd);
  return nullptr;
}

void Nv_FinishLedBlink() {
  const int fd = OpenGpio("Nv_FinishLedBlink");
  if (fd < 0) return;
  if (board.status_led_gpio < 1) {
    Gpio_Close(fd);
    return;
  }
  DriveLed(fd, GPIO_REQUEST_DRIVE_RESTING);
  while (true) {
    Host_SleepMicroseconds(slow_rest_us);
    DriveLed(fd, GPIO_REQUEST_DRIVE_ACTIVE);
    Host_SleepMicroseconds(slow_flash_us);
    DriveLed(fd, GPIO_REQUEST_DRIVE_RESTING);
  }
}

void Nv_ClearEepromHeader() {
  (void)EEprom_WriteValue(eeprom_handle, 0, 0, 4, ByteOrder::big_endian);
}
