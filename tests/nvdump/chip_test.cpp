// SPDX-License-Identifier: MIT
// Reading a chip that a daemon is writing: a bus behind ioctl, on which the chip is silent in its
// write cycles and changes between two transfers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "nvdump/nvdump.h"
#include "tests/fakes/i2c_device.h"

namespace {

std::string chip;
std::function<bool(std::size_t address)> answers;  // asked at each transfer; may change the chip

int Transfer(std::span<i2c_msg> messages) {
  const std::size_t address = messages[0].buf[0] * 256U + messages[0].buf[1];
  EXPECT_EQ(2U, messages.size()) << "a read, and nothing else";
  if (!answers(address)) return errno = ENXIO, -1;
  messages[1].buf[0] = address < chip.size() ? static_cast<std::uint8_t>(chip[address]) : 0xFF;
  return 2;
}

struct Chip : testing::Test {
  int lock =
      open("/dev/full", O_RDONLY | O_CLOEXEC);  // any character device; locked as by a daemon

  Chip() {
    const Image factory = Source_Open({}, CAMERA_FOLDER "/device.conf");
    chip.assign(factory.bytes.begin(), factory.bytes.end());
    answers = [](std::size_t) { return true; };
    i2c_device = {.is_vendors = false, .transfer = Transfer};
  }
  ~Chip() override { (void)close(lock); }

  // The bytes, or why there are none.
  static std::string Read(bool anyway = false) {
    Options options;
    options.flags["anyway"] = anyway;
    try {
      const Image image = Source_Open(options, "/dev/full");
      return {image.bytes.begin(), image.bytes.end()};
    } catch (const Failure& failure) {
      return failure.what();
    }
  }
};

TEST_F(Chip, IsAskedAgainInItsWriteCycle) {
  int transfers = 0;
  answers = [&](std::size_t) { return ++transfers % 7 != 0; };
  EXPECT_TRUE(chip == Read());
}

TEST_F(Chip, ThatStaysSilentIsReported) {
  answers = [](std::size_t address) { return address != 0x246; };
  EXPECT_EQ("/dev/full: address 0246 stays silent: No such device or address", Read());
}

// A daemon is started, and writes the port between the transfers that read its two bytes; so often
// at last that nobody waits for its end.
TEST_F(Chip, GivesNoHalfOfAValueThatIsBeingWritten) {
  char writes = 0, most = 3;
  answers = [&](std::size_t address) {
    if (address != 754 || writes == most) return true;
    chip[753] = chip[754] = ++writes;
    return flock(lock, LOCK_EX) == 0;
  };
  EXPECT_EQ("\3\3", Read().substr(753, 2));
  writes = 0, most = 20;
  testing::internal::CaptureStderr();
  EXPECT_EQ(chip.size(), Read().size());
  EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("keeps changing"));
  EXPECT_EQ(10, writes) << "readings";
}

TEST_F(Chip, BehindADriverThatADaemonUsesIsLeftAlone) {
  i2c_device.is_vendors = true;
  ASSERT_EQ(0, flock(lock, LOCK_EX));
  EXPECT_EQ(std::string::npos, Read(true).find("--anyway"));
  EXPECT_NE(std::string::npos, Read().find("--anyway"));
}

}  // namespace
