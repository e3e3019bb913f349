// SPDX-License-Identifier: MIT
// Fuzzes nvdump's commands that look at an image: whatever it holds, they end, keep the passwords
// and print valid JSON. Each three bytes of the input change one byte of the factory image; behind
// a leading "=" it is the image itself.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "nvdump/source.h"
#include "nvdump/start.h"

namespace {

const std::vector<std::uint8_t>& FactoryImage() {
  static const std::vector<std::uint8_t> image = [] {
    const std::string factory = CAMERA_FOLDER "/device.conf";
    const WorkingCopy config(factory, Source_Read(factory));
    return Start_Fill(0).bytes;
  }();
  return image;
}

std::vector<std::uint8_t> ImageOf(std::span<const std::uint8_t> input) {
  if (!input.empty() && input[0] == '=') return {input.begin() + 1, input.end()};
  std::vector<std::uint8_t> image = FactoryImage();
  for (; input.size() >= 3; input = input.subspan(3)) {
    image[(input[0] * 256U + input[1]) % image.size()] = input[2];
  }
  return image;
}

// Puts bytes into a file, without a disk. Returns its name.
std::string FileOf(int file, const std::vector<std::uint8_t>& bytes) {
  const bool written = ftruncate(file, 0) == 0 && pwrite(file, bytes.data(), bytes.size(), 0) ==
                                                      static_cast<ssize_t>(bytes.size());
  if (!written) std::abort();
  return "/proc/self/fd/" + std::to_string(file);
}

// The factory configuration's passwords, as they stand, in base64 and in hex.
bool HoldsPassword(const std::string& text) {
  constexpr std::array<std::string_view, 4> traces = {"s3cret-share", "b3BlcmF0b3I6b3", "73336372",
                                                      "73 33 63 72"};
  return std::ranges::any_of(traces, [&](auto trace) { return text.find(trace) != text.npos; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int file = memfd_create("image", 0);
  static const std::string factory = FileOf(memfd_create("factory", 0), FactoryImage());
  Options options;
  options.command = "fuzz";
  options.operands = {FileOf(file, ImageOf({data, size}))};
  options.all = options.hex = options.is_long = true;
  for (options.json = false;; options.json = true) {
    for (const auto command : {Info, List, Map, Verify, Diff}) {
      std::string out;
      if (command == Diff) options.operands.push_back(factory);
      try {
        (void)command(options, out);
        if (options.json && !out.empty() && !Json::accept(out)) std::abort();
        if ((size == 0 || data[0] != '=') && HoldsPassword(out)) std::abort();
      } catch (const Failure&) {  // no image, or no configuration
      }
    }
    options.operands.pop_back();
    if (options.json) return 0;
  }
}
