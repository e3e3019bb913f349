// SPDX-License-Identifier: MIT
// A folder of the test's own, removed at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

struct TemporaryFolder {
  std::string path = (std::filesystem::temp_directory_path() / "nvd-test-XXXXXX").string();
  TemporaryFolder() {
    if (mkdtemp(path.data()) == nullptr) std::abort();
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  // Returns the path.
  std::string Write(const std::string& name, std::string_view content) const {
    std::ofstream(path + "/" + name, std::ios::binary | std::ios::trunc) << content;
    return path + "/" + name;
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(path + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};
