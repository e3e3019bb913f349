// SPDX-License-Identifier: MIT
// A camera's life on any image and configuration. The input is lines:
//   @ADDRESS BYTES   bytes of the chip, in hex         =PATH=VALUE  a parameter of device.conf
//   !                the daemon starts (again)         >MESSAGE     and is told something
//   x, o             the chip leaves the bus, returns  %N           the power fails after N
//   transfers
// Anything else counts for nothing. At the end the chip is back and the daemon starts once more.
#include <charconv>

#include "fuzz/fuzz.h"
#include "tests/fakes/emulated_camera.h"

namespace {

constexpr int most_lines = 64;
constexpr int most_starts = 3;

unsigned ToNumber(std::string_view text, int base) {
  unsigned number = 0;
  (void)std::from_chars(text.data(), text.data() + text.size(), number, base);
  return number;
}

void PatchChip(std::string_view line) {
  std::size_t address = ToNumber(TakeUpTo(' ', line), 16);
  for (; line.size() >= 2; line.remove_prefix(2)) {
    camera.chip[address++ % camera.chip.size()] =
        static_cast<std::uint8_t>(ToNumber(line.substr(0, 2), 16));
  }
}

void Restore() {
  camera.lost_from = -1;
  camera.absent = false;
}

void RunLine(char what, std::string_view line, int& starts) {
  if (what == '@') PatchChip(line);
  if (what == '=') {
    const std::string path(TakeUpTo('=', line));
    SetParameter(path, std::string(line));
  }
  if (what == '!' && ++starts <= most_starts) StartAndCheck();
  if (what == '>') SendAndCheck(line.substr(0, 128));
  if (what == 'x') camera.absent = true;
  if (what == 'o') Restore();
  if (what == '%') {
    camera.writes.clear();
    camera.lost_from = ToNumber(line, 10) % 7000;
  }
}

}  // namespace

void FuzzOneInput(std::string_view input) {
  FitFilledCamera();
  int starts = 0;
  for (int lines = 0; !input.empty() && lines < most_lines; ++lines) {
    const std::string_view line = TakeUpTo('\n', input);
    if (!line.empty()) RunLine(line.front(), line.substr(1), starts);
  }
  Restore();
  StartAndCheck();
}
