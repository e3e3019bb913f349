// SPDX-License-Identifier: MIT
// A simulated camera under test, by way of its launcher.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include "platform/file.h"
#include "tests/platform/temporary_folder.h"

struct Result {
  int status;
  std::string output;
};

inline Result Shell(const std::string& command) {
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  std::string output;
  std::array<char, 4096> block;
  for (std::size_t n = 0; (n = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
    output.append(block.data(), n);
  }
  return {WEXITSTATUS(pclose(pipe)), output};
}

inline std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

inline std::string Content(const std::string& path) {
  std::string content;
  EXPECT_EQ(0, File_Read(path.c_str(), content)) << path;
  return content;
}

inline void Write(const std::string& path, const std::string& content) {
  ASSERT_EQ(0, File_Replace(path.c_str(), content));
}

// One simulated camera in a state folder of its own; the daemon is killed at the end.
struct Camera {
  TemporaryFolder folder;
  std::string state = folder.path + "/camera";

  Camera() { Ok("new"); }
  ~Camera() { (void)Run("kill"); }

  Result Run(const std::string& arguments) const {
    return Shell(std::string(CAMERA_LAUNCHER " --build " CAMERA_BUILD " --state ") + state + " " +
                 arguments);
  }
  std::string Ok(const std::string& arguments) const {
    const Result result = Run(arguments);
    EXPECT_EQ(0, result.status) << arguments << "\n" << result.output << Log();
    return result.output;
  }
  std::string Log() const { return Run("log").output; }
  std::string Eeprom() const { return Content(state + "/eeprom"); }
  std::string Configuration() const { return Content(state + "/etc/device.conf"); }
  std::string Get(const std::string& path) const {
    const std::string line = Ok("get " + path);
    return line.substr(std::min(path.size() + 1, line.size()),
                       line.size() - std::min(path.size() + 2, line.size()));
  }
  void Set(const std::string& path, const std::string& value) const {
    Ok("set " + path + " " + Quoted(value));
  }
  bool HasPidFile() const { return File_Exists((state + "/run/nvd.pid").c_str()); }
};

inline bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class EndToEnd : public testing::Test {
 protected:
  void SetUp() override {
    const Result box = Shell("bwrap --ro-bind / / --unshare-ipc true");
    if (box.status != 0) GTEST_SKIP() << "no sandbox on this host: " << box.output;
  }
};
