// SPDX-License-Identifier: MIT
// The kernel's I2C devices without a kernel: the linker puts this behind ioctl, whatever character
// device is open.
#pragma once

#include <linux/i2c.h>

#include <functional>
#include <span>

struct I2cDevice {
  bool is_vendors = false;  // it knows the register-width request
  // A combined transfer: how many messages went through, or -1 with errno set.
  std::function<int(std::span<i2c_msg> messages)> transfer;
};
extern I2cDevice i2c_device;
