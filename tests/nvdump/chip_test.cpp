// SPDX-License-Identifier: MIT
// Reading a chip that a daemon is writing: a bus behind ioctl, on which the chip is silent in its
// write cycles and changes between two transfers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "nvdump/source.h"
#include "nvdump/start.h"
#include "nvdump/text.h"
#include "tests/fakes/i2c_device.h"

namespace {

std::vector<std::uint8_t> chip;
std::function<bool(std::size_t address)> answers;  // asked at each transfer; may change the chip

int Transfer(std::span<i2c_msg> messages) {
  const std::size_t address = messages[0].buf[0] * 256U + messages[0].buf[1];
  EXPECT_EQ(2U, messages.size()) << "a read, and nothing else";
  if (!answers(address)) return errno = ENXIO, -1;
  messages[1].buf[0] = address < chip.size() ? chip[address] : 0xFF;
  return 2;
}

struct Chip : testing::Test {
  int lock =
      open("/dev/full", O_RDONLY | O_CLOEXEC);  // any character device; locked as by a daemon

  Chip() {
    const std::string factory = CAMERA_FOLDER "/device.conf";
    const WorkingCopy config(factory, Source_Read(factory));
    chip = Start_Fill(0).bytes;
    answers = [](std::size_t) { return true; };
    i2c_device = {.is_vendors = false, .transfer = Transfer};
  }
  ~Chip() override { (void)close(lock); }

  static Image Read(bool anyway = false) {
    Image image;
    image.name = "/dev/full";
    Chip_Read(anyway, image);
    return image;
  }
  static std::string FailureOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "";
  }
};

TEST_F(Chip, IsAskedAgainInItsWriteCycle) {
  int transfers = 0;
  answers = [&](std::size_t) { return ++transfers % 7 != 0; };
  EXPECT_EQ(chip, Read().bytes);
}

TEST_F(Chip, ThatStaysSilentIsReported) {
  answers = [](std::size_t address) { return address != 0x246; };
  EXPECT_EQ("/dev/full: address 0246 stays silent: No such device or address",
            FailureOf([] { (void)Read(); }));
}

// A daemon is started, and the port goes from 0x0050 to 0x1F90 between the transfers that read its
// two bytes.
TEST_F(Chip, GivesNoHalfOfAValueThatIsBeingWritten) {
  answers = [this](std::size_t address) {
    if (address == 754) chip[753] = 0x1F, chip[754] = 0x90, (void)flock(lock, LOCK_EX);
    return true;
  };
  const Image image = Read();
  EXPECT_EQ("1f90", Hex(std::span(image.bytes).subspan(753, 2)));
}

TEST_F(Chip, BehindADriverThatADaemonUsesIsLeftAlone) {
  i2c_device.is_vendors = true;
  ASSERT_EQ(0, flock(lock, LOCK_EX));
  EXPECT_EQ("", FailureOf([] { (void)Read(true); }));
  EXPECT_NE(std::string::npos, FailureOf([] { (void)Read(); }).find("--anyway"));
}

}  // namespace
