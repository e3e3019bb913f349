// SPDX-License-Identifier: MIT
// A folder of the test's own, removed at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

struct TemporaryFolder {
  std::string path = (std::filesystem::temp_directory_path() / "nvd-test-XXXXXX").string();
  TemporaryFolder() {
    if (mkdtemp(path.data()) == nullptr) std::abort();
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
};
