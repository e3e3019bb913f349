// SPDX-License-Identifier: MIT
// In the place of libFuzzer: runs a fuzz target on nothing at all and on files.
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  for (int i = 0; i < argc; ++i) {
    std::ifstream file(i == 0 ? "/dev/null" : argv[i], std::ios::binary);
    if (!file) return 1;
    const std::string input(std::istreambuf_iterator<char>(file), {});
    (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  }
}
