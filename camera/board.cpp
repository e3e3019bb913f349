// SPDX-License-Identifier: MIT
// camera-board: publishes the board information of a simulated camera and becomes the given
// command.
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr key_t segment_key = 30;
constexpr std::size_t segment_size = 256;
constexpr int button_word = 30;
constexpr int led_word = 31;

int Fail(const char* what) {
  (void)std::fprintf(stderr, "camera-board: %s: %s\n", what, std::strerror(errno));
  return 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 4) {
    (void)std::fputs("usage: camera-board BUTTON LED COMMAND [ARG...]\n", stderr);
    return 2;
  }
  // The daemon asks for every permission.
  const int segment = shmget(segment_key, segment_size, IPC_CREAT | 0777);
  if (segment < 0) return Fail("shmget");
  void* memory = shmat(segment, nullptr, 0);
  if (memory == reinterpret_cast<void*>(-1)) return Fail("shmat");
  auto* words = static_cast<std::int32_t*>(memory);
  words[button_word] = static_cast<std::int32_t>(std::strtol(argv[1], nullptr, 10));
  words[led_word] = static_cast<std::int32_t>(std::strtol(argv[2], nullptr, 10));
  (void)shmdt(memory);  // the segment stays until its name space ends
  (void)execvp(argv[3], &argv[3]);
  return Fail(argv[3]);
}
