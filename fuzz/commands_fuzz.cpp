// SPDX-License-Identifier: MIT
// Any messages to a daemon on a filled image, one a line.
#include "config/store.h"
#include "fuzz/fuzz.h"
#include "tests/fakes/emulated_camera.h"

void FuzzOneInput(std::string_view input) {
  FitFilledCamera();
  static const int started = StartDaemon();  // the section list stays the same for ever
  static const std::int32_t ns_index = NsIndex;
  if (started != 0) Fail("the image is not this camera's");
  NsIndex = ns_index;
  while (!input.empty()) SendAndCheck(TakeUpTo('\n', input).substr(0, 128));
}
