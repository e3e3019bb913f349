// SPDX-License-Identifier: MIT
// In the place of libFuzzer: runs a fuzz target on the files of a folder, and on nothing at all.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Run(const std::string& input) {
  (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  int runs = 0;
  Run("");
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    (void)std::fprintf(stderr, "%s\n", entry.path().c_str());
    std::ifstream file(entry.path(), std::ios::binary);
    Run(std::string(std::istreambuf_iterator<char>(file), {}));
    ++runs;
  }
  return runs > 0 ? 0 : 1;
}
