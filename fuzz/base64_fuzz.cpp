// SPDX-License-Identifier: MIT
// The account coding, both ways, into buffers of any size. The first byte is the size.
#include <cstring>
#include <vector>

#include "fuzz/fuzz_camera.h"
#include "param/base64.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::vector<char> output(data[0]);  // a byte too far is the sanitizer's
  const std::span<const std::uint8_t> input(data + 1, size - 1);
  const std::string_view text(reinterpret_cast<const char*>(input.data()), input.size());
  if (Param_Base64Decode(output, text) > output.size()) Fail("decoded too much");
  const std::size_t length = Param_Base64Encode(input, output);
  if (!output.empty() && (length >= output.size() || std::strlen(output.data()) != length)) {
    Fail("an encoded text is not terminated");
  }

  std::vector<char> encoded(2 * size + 8);
  std::vector<char> decoded(size + 2);
  const std::size_t whole = Param_Base64Encode(input, encoded);
  const std::string_view whole_text(encoded.data(), whole);
  if (whole_text.find('/') != std::string_view::npos) return 0;  // the decoder skips it
  if (Param_Base64Decode(decoded, whole_text) < input.size() ||
      std::memcmp(decoded.data(), input.data(), input.size()) != 0) {
    Fail("what was encoded does not come back");
  }
  return 0;
}
