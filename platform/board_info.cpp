// SPDX-License-Identifier: MIT
#include "platform/board_info.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstddef>
#include <cstring>

namespace {

constexpr key_t segment_key = 30;
constexpr std::size_t segment_size = 256;
constexpr int segment_flags = 01777;  // IPC_CREAT and permissions 0777
static_assert((segment_flags & IPC_CREAT) != 0);

constexpr std::size_t reset_button_offset = 120;
constexpr std::size_t status_led_offset = 124;

}  // namespace

BoardInfoResult BoardInfo_Read(BoardInfo& info) {
  const int id = shmget(segment_key, segment_size, segment_flags);
  if (id == -1) return BoardInfoResult::no_segment;
  const void* segment = shmat(id, nullptr, 0);
  if (segment == nullptr || segment == reinterpret_cast<const void*>(-1)) {
    return BoardInfoResult::not_attached;
  }
  const auto* bytes = static_cast<const std::byte*>(segment);
  std::memcpy(&info.reset_button_gpio, bytes + reset_button_offset, sizeof info.reset_button_gpio);
  std::memcpy(&info.status_led_gpio, bytes + status_led_offset, sizeof info.status_led_gpio);
  (void)shmdt(segment);
  return BoardInfoResult::ok;
}
