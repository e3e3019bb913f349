// SPDX-License-Identifier: MIT
// What the fuzz targets share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// The target of this program: runs one input. libFuzzer calls it, or replay.cpp.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Stops the fuzzer: the input has shown what must not be.
[[noreturn]] inline void Fail(const char* what) {
  (void)std::fprintf(stderr, "FAILED: %s\n", what);
  std::abort();
}

// The input up to the next `end`, which is taken off as well.
inline std::string_view TakeUpTo(char end, std::string_view& input) {
  const std::string_view part = input.substr(0, input.find(end));
  input.remove_prefix(std::min(part.size() + 1, input.size()));
  return part;
}
