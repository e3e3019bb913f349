// SPDX-License-Identifier: MIT
// What the camera's platform publishes about the board, in a System V shared-memory segment.
#pragma once

#include <cstdint>

enum class BoardInfoResult : std::uint8_t { ok, no_segment, not_attached };

struct BoardInfo {
  std::int32_t reset_button_gpio = 0;
  std::int32_t status_led_gpio = 0;  // 0 or less: the board has no status LED
};

// Reads the segment (key 30, 256 bytes; created, all zero, when it is missing). `info` is filled on
// success only. See shmget(2), shmat(2).
BoardInfoResult BoardInfo_Read(BoardInfo& info);
