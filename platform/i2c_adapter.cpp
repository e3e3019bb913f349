// SPDX-License-Identifier: MIT
// i2c-adapter: says which adapter nvd uses for a device, for whoever ports it. Takes no lock and
// makes no transfer, so nvd may be running.
#include <cerrno>
#include <cstring>

#include "platform/i2c_bus.h"
#include "platform/program.h"

int main(int argc, char* argv[]) {
  const char* device = argc > 1 ? argv[1] : "/dev/i2c-1";
  if (I2c_OpenToRead(device) >= 0) {
    return Program_Print(std::string(device) + ": " + I2c_AdapterName() + "\n");
  }
  Program_Complain(device, std::strerror(errno));
  return 1;
}
