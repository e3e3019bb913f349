// SPDX-License-Identifier: MIT
// Devices that a regular file stands for, waiting and the shell.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "platform/host.h"
#include "platform/i2c_bus.h"
#include "platform/shell.h"
#include "tests/platform/temporary_folder.h"

namespace {

TEST(I2cImage, IsTheChipByteForByte) {
  const TemporaryFolder folder;
  const int fd = I2c_Open(folder.Write("eeprom", "").c_str());
  std::array<std::uint8_t, 3> buffer = {1, 0, 0x33};
  EXPECT_EQ(3, I2c_Read(fd, buffer));
  EXPECT_EQ(0xFF, buffer[0]) << "an empty file is an erased chip";
  EXPECT_EQ(0, I2c_Request(fd, I2C_SLAVE_FORCE, 0xAA)) << "the second chip's second block";
  EXPECT_EQ(0, I2c_Request(fd, I2C_REQUEST_DATA_WIDTH, 1));
  EXPECT_EQ(-1, I2c_Write(fd, buffer)) << "not in this width";
  EXPECT_EQ(4, I2c_Write(fd, std::array<std::uint8_t, 4>{0, 1, 0x33, 0x22}));
  EXPECT_TRUE(std::string(0x50100, '\xFF') + "\x22\x33" == folder.Read("eeprom"));
  I2c_Close(fd);
}

TEST(I2cBus, HasOneWriterAndOnlyWhatAnAdapterSpeaksTo) {
  const TemporaryFolder folder;
  ASSERT_EQ(0, mkfifo((folder.path + "/pipe").c_str(), 0600));
  for (const char* other : {"/missing", "", "/pipe"}) {
    EXPECT_EQ(-1, I2c_Open((folder.path + other).c_str())) << other;
  }
  const std::string path = folder.Write("eeprom", "");
  const int writer = I2c_Open(path.c_str());
  EXPECT_EQ(-1, I2c_Open(path.c_str()));
  const int reader = I2c_OpenToRead(path.c_str());
  EXPECT_GE(reader, 0);
  EXPECT_STREQ("image file", I2c_AdapterName());
  EXPECT_EQ(0, Shell_Run("sleep 3 >/dev/null 2>&1 &")) << "a child does not keep the lock";
  I2c_Close(writer);
  const int next = I2c_Open(path.c_str());
  EXPECT_GE(next, 0);
  for (const int fd : {reader, next}) I2c_Close(fd);
}

TEST(Host, ReadsTheFirstWordOfACommand) {
  std::array<char, 8> word;
  for (const auto& [command, first] :
       {std::pair{"printf ' \\n one two'", "one"}, {"echo 1234567890", "1234567"}, {"true", ""}}) {
    EXPECT_EQ(*first != '\0', Shell_ReadFirstWord(command, word));
    EXPECT_STREQ(first, word.data());
  }
  EXPECT_EQ(3, WEXITSTATUS(Shell_Run("exit 3")));
}

TEST(Host, WaitsAsLongUnderASignal) {
  using Clock = std::chrono::steady_clock;
  constexpr itimerval soon = {{0, 0}, {0, 5000}};
  (void)std::signal(SIGALRM, [](int) {});
  ASSERT_EQ(0, setitimer(ITIMER_REAL, &soon, nullptr));
  const Clock::time_point start = Clock::now();
  Host_SleepMicroseconds(50000);
  const auto waited = Clock::now() - start;
  EXPECT_TRUE(waited >= std::chrono::milliseconds(50) && waited < std::chrono::seconds(1));
}

// A daemon that was started without standard output must not print into the EEPROM.
TEST(Host, OpensNoDeviceAsStandardOutput) {
  EXPECT_EXIT(
      {
        for (const int fd : {0, 1, 2}) (void)close(fd);
        Host_ReserveStandardDescriptors();
        std::_Exit(open("/dev/zero", O_RDWR) > STDERR_FILENO ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
