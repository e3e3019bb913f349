// SPDX-License-Identifier: MIT
// Any messages to a daemon on a filled image, one a line.
#include <algorithm>

#include "config/section_list.h"
#include "config/store.h"
#include "fuzz/fuzz_camera.h"
#include "tests/fakes/fake_chip.h"
#include "tests/fakes/fake_daemon.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FitFactoryCamera();
  static const int started = StartDaemon();  // the section list stays the same for ever
  static const std::int32_t ns_index = NsIndex;
  if (started != 0) Fail("the image is not this camera's", started);
  NsIndex = ns_index;
  const auto before = chip.bytes;
  std::string_view input(reinterpret_cast<const char*>(data), size);
  constexpr std::size_t reached = 0x4000;  // behind it only a look at the end
  while (!input.empty()) SendAndCheck(TakeUpTo('\n', input).substr(0, 128), reached);
  if (!std::equal(before.begin() + reached, before.end(), chip.bytes.begin() + reached)) {
    Fail("something was written behind the image");
  }
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    for (std::size_t i = node->address; i < node->address + 9; ++i) {
      if (chip.bytes[i] != before[i]) Fail("a header has changed", static_cast<long>(i));
    }
  }
  return 0;
}
