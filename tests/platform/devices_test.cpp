// SPDX-License-Identifier: MIT
// Devices that a regular file stands for, the board-information segment, the socket library and the
// shell.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "platform/file.h"
#include "platform/gpio.h"
#include "platform/host.h"
#include "platform/i2c_bus.h"
#include "platform/libnetwork.h"
#include "tests/platform/temporary_folder.h"

namespace {

std::string Content(const std::string& path) {
  std::string content;
  EXPECT_EQ(0, File_Read(path.c_str(), content));
  return content;
}

TEST(I2cImage, IsTheChipByteForByte) {
  const TemporaryFolder folder;
  const std::string path = folder.path + "/eeprom";
  ASSERT_EQ(0, File_Replace(path.c_str(), ""));
  const int fd = I2c_Open(path.c_str());
  ASSERT_GE(fd, 0);
  const auto read = [fd](std::uint8_t low, std::uint8_t high) {
    std::array<std::uint8_t, 2> buffer = {low, high};
    EXPECT_EQ(2, I2c_Read(fd, buffer));
    return buffer[0];
  };
  EXPECT_EQ(0, I2c_Request(fd, I2C_REQUEST_DATA_WIDTH, 0));
  EXPECT_EQ(0, I2c_Request(fd, I2C_SLAVE_FORCE, 0xA0));
  EXPECT_EQ(0xFF, read(0, 0)) << "an empty file is an erased chip";
  EXPECT_EQ(3, I2c_Write(fd, std::array<std::uint8_t, 3>{3, 0, 0x11}));
  EXPECT_EQ("\xFF\xFF\xFF\x11", Content(path)) << "a gap reads as erased";
  EXPECT_EQ(0, I2c_Request(fd, I2C_REQUEST_DATA_WIDTH, 1));
  EXPECT_EQ(4, I2c_Write(fd, std::array<std::uint8_t, 4>{1, 0, 0x33, 0x22}));
  EXPECT_EQ("\xFF\x22\x33\x11", Content(path)) << "the second data byte is the lower address's";
  EXPECT_EQ(-1, I2c_Write(fd, std::array<std::uint8_t, 3>{1, 0, 0x33})) << "not in this width";
  EXPECT_EQ(0x33, read(2, 0));
  EXPECT_EQ(0, I2c_Request(fd, I2C_REQUEST_DATA_WIDTH, 0));
  EXPECT_EQ(0, I2c_Request(fd, I2C_SLAVE_FORCE, 0xAA));
  EXPECT_EQ(3, I2c_Write(fd, std::array<std::uint8_t, 3>{0, 1, 0x44}));
  EXPECT_EQ(0x50101U, Content(path).size()) << "the second chip's second block";
  EXPECT_EQ(0x44, read(0, 1));
  EXPECT_EQ(-1, I2c_Request(fd, 0x1234, 0));
  I2c_Close(fd);
}

TEST(I2cBus, OpensOnlyWhatAnAdapterSpeaksTo) {
  const TemporaryFolder folder;
  EXPECT_EQ(-1, I2c_Open((folder.path + "/missing").c_str()));
  EXPECT_EQ(-1, I2c_Open(folder.path.c_str()));
  const std::string pipe = folder.path + "/pipe";
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  EXPECT_EQ(-1, I2c_Open(pipe.c_str()));
}

TEST(Gpio, HasOneByteALineInAFile) {
  const TemporaryFolder folder;
  const std::string path = folder.path + "/gpio";
  ASSERT_EQ(0, File_Replace(path.c_str(), std::string("\0\1\7", 3)));
  const int fd = Gpio_Open(path.c_str());
  ASSERT_GE(fd, 0);
  EXPECT_EQ(0, Gpio_Request(fd, GPIO_REQUEST_INPUT, 2));
  EXPECT_EQ(7, Gpio_Request(fd, GPIO_REQUEST_READ, 2));
  EXPECT_EQ(0, Gpio_Request(fd, GPIO_REQUEST_READ, 0));
  EXPECT_EQ(0, Gpio_Request(fd, GPIO_REQUEST_DRIVE_ACTIVE, 0));
  EXPECT_EQ(0, Gpio_Request(fd, GPIO_REQUEST_DRIVE_RESTING, 1));
  EXPECT_EQ(std::string("\1\0\7", 3), Content(path));
  for (const int line : {-1, 3}) {
    EXPECT_EQ(-1, Gpio_Request(fd, GPIO_REQUEST_READ, line));
    EXPECT_EQ(-1, Gpio_Request(fd, GPIO_REQUEST_DRIVE_ACTIVE, line));
    EXPECT_EQ(-1, Gpio_Request(fd, GPIO_REQUEST_INPUT, line));
  }
  EXPECT_EQ(-1, Gpio_Request(fd, 4, 0));
  EXPECT_EQ(std::string("\1\0\7", 3), Content(path));
  Gpio_Close(fd);
  EXPECT_EQ(-1, Gpio_Open((folder.path + "/missing").c_str()));
}

TEST(Libnetwork, ListensAtThePath) {
  const TemporaryFolder folder;
  const std::string path = folder.path + "/nv.sck";
  ASSERT_EQ(0, File_Replace(path.c_str(), "a stale file"));
  const int fd = unix_socket_open(path.c_str());
  ASSERT_GE(fd, 0);
  EXPECT_EQ(0, set_nonblocking(fd));
  EXPECT_EQ(-1, accept(fd, nullptr, nullptr)) << "and does not block";
  EXPECT_EQ(EAGAIN, errno);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  const int client = socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(0, connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address));
  const int accepted = accept(fd, nullptr, nullptr);
  EXPECT_GE(accepted, 0);
  for (const int each : {client, accepted, fd}) (void)close(each);

  EXPECT_EQ(-1, unix_socket_open((folder.path + "/none/nv.sck").c_str()));
  EXPECT_EQ(-1, unix_socket_open(std::string(108, 'x').c_str())) << "no room for a terminator";
  EXPECT_EQ(-1, set_nonblocking(-1));
}

TEST(Host, ReadsTheFirstWordOfACommand) {
  std::array<char, 8> word;
  EXPECT_TRUE(Host_ReadFirstWord("printf ' \\n one two'", word));
  EXPECT_STREQ("one", word.data());
  EXPECT_TRUE(Host_ReadFirstWord("echo 1234567890", word));
  EXPECT_STREQ("1234567", word.data());
  EXPECT_FALSE(Host_ReadFirstWord("true", word));
  EXPECT_STREQ("", word.data());
  EXPECT_EQ(3, WEXITSTATUS(Host_RunCommand("exit 3")));
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
