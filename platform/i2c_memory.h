// SPDX-License-Identifier: MIT
// A chip in memory, for whoever has its bytes and wants to read or write them as the daemon does.
#pragma once

#include <vector>

#include "platform/i2c_bus.h"

// The chip's bytes. What lies behind them reads 0xFF, as an erased chip does, and a write there
// fills the gap with 0xFF.
extern std::vector<std::uint8_t> i2c_memory;

// Speaks to that chip; for I2c_UseAdapter, with any number as the descriptor.
extern const I2cAdapter i2c_memory_adapter;
