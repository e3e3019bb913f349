// SPDX-License-Identifier: MIT
// Messages of the control socket and what they write.
#include <gtest/gtest.h>

#include "config/change_propagation.h"
#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "daemon/log.h"
#include "daemon/signals.h"
#include "eeprom/backup.h"
#include "eeprom/restore.h"
#include "tests/fakes/fake_chip.h"
#include "tests/fakes/fake_machine.h"

namespace {

const std::map<std::string, std::string> camera = {
    {"General.System.HTTPPort", "80"},
    {"General.UserID.U1.User", "Ym9iOndvcmQ=,00010001"},
    {"Event.Server.MaxCnt", "3"},
    {"Event.Server.S1.Type", "ns"},
    {"Event.Server.S1.Protocol", "cifs"},
    {"Event.Server.S1.Location", "//nas/video"},
    {"Event.Scheduled.S0.ServerType", "LS"},
    {"Event.Scheduled.S0.Enabled", "on"},
    {"Event.Scheduled.S0.FileSize", "50"},
    {"Image.OSD.Alias", "Gate"},
    {"Image.OSD.Title", "on"},
    {"Image.OSD.Date", "off"},
    {"StreamProfile.I1.Video.Name", "Second"},
    {"StreamProfile.I1.Video.Resolution", "1920x1080"},
    {"StreamProfile.I1.Video.FPS", "30"},
};

// A camera that has started: the image is filled and the section list is built.
void StartCamera() {
  FitFakeCamera(camera);
  chip.records = false;
  ASSERT_EQ(0, Nv_FindNetworkStorageIndex());
  (void)OutputOf([] {
    (void)Nv_InitEEprom();
    (void)Nv_ReadBackCheck();
  });
  chip.records = true;
  chip.events.clear();
  chip.writes = 0;
  machine.saves = 0;
  machine.commands.clear();
}

std::string Send(std::string_view message) {
  chip.events.clear();
  return OutputOf([message] { Nv_HandleCommand(message); });
}

// The write buffers alone; requests and waits are the primitives' affair.
BusEvents Writes() {
  BusEvents writes;
  for (const BusEvent& event : chip.events) {
    if (event.kind == BusEvent::write) writes.push_back(event);
  }
  return writes;
}

// The time stamp at 41: 01 02 03 04.
void AppendTime(BusEvents& writes) {
  writes.push_back(Write({41, 0, 2, 1}));
  writes.push_back(Write({43, 0, 4, 3}));
}

TEST(Notice, RewritesExactlyTheField) {
  StartCamera();
  EXPECT_EQ("", Send("General.System.HTTPPort=8080"));
  EXPECT_EQ((BusEvents{Request(0x0706, 0xA0), Request(0x070A, 1), Write({0xF1, 0x02, 0x90, 0x1F}),
                       Wait(10000), Request(0x0706, 0xA0), Request(0x070A, 1), Write({41, 0, 2, 1}),
                       Wait(10000), Request(0x070A, 1), Write({43, 0, 4, 3}), Wait(10000)}),
            chip.events);

  (void)Send("General.Network.eth0.IPAddress=192.0.2.1=x");
  EXPECT_EQ(std::string("192.0.2.1=x") + std::string(21, '\0'), chip.Text(582 + 9 + 1, 32));
  EXPECT_EQ(16U + 2, Writes().size()) << "eight pieces of two transfers, and the time";

  (void)Send("Event.Server.S1.Location=host:/" + std::string(90, 'p'));
  EXPECT_EQ("host", chip.Text(10952 + 9 + 34, 4));
  EXPECT_EQ("/" + std::string(90, 'p') + std::string(165, '\0'), chip.Text(10952 + 9 + 66, 256));
  EXPECT_EQ(0, machine.saves);
  EXPECT_TRUE(machine.commands.empty()) << "no process for a row of one path";
}

TEST(Notice, AsksForTheOtherPathsOfARow) {
  StartCamera();
  (void)Send("Image.OSD.Date=on");
  EXPECT_EQ(1, chip.bytes[1397 + 9 + 65] - 2) << "date and title: both on";
  EXPECT_EQ(std::string("Gate %T\0", 8), chip.Text(1397 + 9 + 66, 8));
  EXPECT_EQ((std::vector<std::string>{"/bin/xmlcfg -g Image.OSD.Title /etc/device.conf 2>&1",
                                      "/bin/xmlcfg -g Image.OSD.Title /etc/device.conf 2>&1",
                                      "/bin/xmlcfg -g Image.OSD.Alias /etc/device.conf 2>&1"}),
            machine.commands);
}

TEST(Notice, ReachesEverySectionThatMapsIt) {
  StartCamera();
  (void)Send("ImageSource.RecordIndex=2");
  EXPECT_EQ(std::string("Profile3\0", 9), chip.Text(10229 + 9 + 8, 9));
  EXPECT_EQ(std::string("Profile3\0", 9), chip.Text(10952 + 9 + 403, 9));
  EXPECT_EQ(2U * (16 + 2), Writes().size());
}

TEST(Notice, ForAnythingElseIsIgnored) {
  StartCamera();
  for (const char* message : {"", "=", "=x", "nothing", "No.Such.Path=1", "Event.Server.S2.Type=ns",
                              "Event.Server.S%d.Type=ns", "General.System.HTTPPort",
                              "General.System.HTTPPor=1", "Image.OSD.Date,Image.OSD.Title=on"}) {
    EXPECT_EQ("", Send(message)) << message;
    EXPECT_TRUE(chip.events.empty()) << message;
  }
}

TEST(Notice, IsTracedInDebugMode) {
  StartCamera();
  testing::internal::CaptureStdout();
  Nv_ToggleDebug(SIGUSR2);
  (void)testing::internal::GetCapturedStdout();
  EXPECT_EQ(1, debug_flag);
  EXPECT_EQ("## NVD : link list node=General.System.HTTPPort\n",
            Send("General.System.HTTPPort=81"));
  EXPECT_EQ("Nvd : Turn Off debug mode\n", OutputOf([] { Nv_ToggleDebug(SIGUSR2); }));
  EXPECT_EQ(0, debug_flag);
  EXPECT_EQ("Unknown signal -12\n", OutputOf([] { Nv_QuitHandler(-12); }));
}

TEST(Notice, GoesOnAfterRefusedTransfers) {
  StartCamera();
  chip.refuse_write = -2;
  EXPECT_EQ("I2C_WRITE error!\nI2C_WRITE error!\n", Send("General.System.HTTPPort=8080"));
  (void)Send("General.Network.eth0.IPAddress=192.0.2.99");
  EXPECT_EQ(9U, Writes().size()) << "each piece is tried, each primitive stops at its first";
}

TEST(Command, RemovesAStreamProfile) {
  StartCamera();
  EXPECT_EQ("", Send("remove_stpf=1"));
  EXPECT_EQ(std::string(32, '\0'), chip.Text(6179 + 9, 32));
  EXPECT_EQ(std::string("\0\0\x1D\x69", 4), chip.Text(6179 + 5, 4)) << "the chain stays linked";
  EXPECT_EQ(1, chip.bytes[6179 + 9 + 59]) << "the overlay is on in an empty profile as well";
  EXPECT_NE(41, Writes().back().bytes[0]) << "no time stamp";
  (void)Send("remove_stpf=4");
  EXPECT_TRUE(chip.events.empty());
}

TEST(Command, RemovesAUser) {
  StartCamera();
  EXPECT_EQ("i=2\ni=7\ni=12\n", Send("remove_userX=1"));
  EXPECT_EQ(std::string(32, '\0'), chip.Text(248 + 9 + 64, 32));
  EXPECT_EQ(std::string(32, '\0'), chip.Text(248 + 9 + 224, 32));
  EXPECT_EQ(0, chip.bytes[248 + 9 + 322]);
  BusEvents expected;
  for (std::uint8_t at = 0x41; at < 0x61; at += 2) expected.push_back(Write({at, 1, 0, 0}));
  AppendTime(expected);
  for (std::uint8_t at = 0xE1; at < 0xFF; at += 2) expected.push_back(Write({at, 1, 0, 0}));
  expected.push_back(Write({0xFF, 1, 0}));  // the last pair of the password straddles a page
  expected.push_back(Write({0, 2, 0}));
  AppendTime(expected);
  expected.push_back(Write({0x43, 2, 0}));
  AppendTime(expected);
  EXPECT_EQ(expected, Writes());
}

TEST(Command, RemovesARecordingSchedule) {
  StartCamera();
  EXPECT_EQ(1, chip.bytes[10229 + 9 + 1]);
  EXPECT_EQ("50", chip.Text(10229 + 9 + 266, 2));
  (void)Send("remove_record=0");
  EXPECT_EQ(0, chip.bytes[10229 + 9 + 1]);
  EXPECT_EQ(std::string(64, '\0'), chip.Text(10229 + 9 + 266, 64));
  EXPECT_TRUE(machine.commands.empty()) << "every path of such a row gets the empty value";
}

TEST(Command, FollowsTheNetworkStorageServer) {
  StartCamera();
  EXPECT_EQ(1, NsIndex);
  EXPECT_EQ("remove sever=2\n", Send("remove_server=2"));
  EXPECT_TRUE(chip.events.empty());
  EXPECT_EQ("remove sever=1\nNsIndex=-1\n", Send("remove_server=1"));
  EXPECT_EQ(std::string(322, '\0'), chip.Text(10952 + 9, 322));
  EXPECT_EQ(std::string(4, '\0'), chip.Text(10952 + 5, 4)) << "still the last section";
  EXPECT_EQ("NsIndex=2\n", Send("add_serverns=2"));
  EXPECT_EQ(
      (BusEvents{Request(0x0706, 0xA0), Request(0x070A, 0), Write({0xD1, 0x2A, 1}), Wait(10000)}),
      chip.events);
}

TEST(Command, TakesANewProductNumber) {
  StartCamera();
  const std::string name(40, 'n');
  EXPECT_EQ("", Send("General.Brand.ProdNbr=" + name));
  EXPECT_EQ(name.substr(0, 32), chip.Text(9, 32));
  EXPECT_EQ(name, std::string(Slot_Text(product_number)));
  (void)Send("General.Brand.ProdNbr=Z");
  EXPECT_EQ("Z" + std::string(31, '\0'), chip.Text(9, 32)) << "no rest of the longer one";
  EXPECT_EQ(16U, Writes().size());
}

TEST(Clamp, LowersWhatTheSensorCanNotDo) {
  StartCamera();
  SetParameter("ImageSource.I0.Config.MaxResolution", "1280x960");
  SetParameter("ImageSource.I0.Config.CaptureMode", "1280x960@25");
  SetParameter("StreamProfile.I0.Video.Resolution", "1280x2000");
  SetParameter("StreamProfile.I0.Video.FPS", "25");
  machine.saves = 0;
  (void)OutputOf([] { EXPECT_EQ(0, Nv_ClampStreamSettings()); });
  EXPECT_EQ("1280x960", Parameter("StreamProfile.I1.Video.Resolution"));
  EXPECT_EQ("1280x2000", Parameter("StreamProfile.I0.Video.Resolution")) << "the width decides";
  EXPECT_EQ("25", Parameter("StreamProfile.I1.Video.FPS"));
  EXPECT_EQ("(none)", Parameter("StreamProfile.I2.Video.FPS"));
  EXPECT_EQ(1, machine.saves);
  EXPECT_EQ(std::string("\x05\x00\x03\xC0\x09\xC4", 6), chip.Text(6179 + 9 + 33, 6));
  (void)OutputOf([] { EXPECT_EQ(0, Nv_ClampStreamSettings()); });
  EXPECT_EQ(1, machine.saves) << "nothing left to lower";
  SetParameter("ImageSource.I0.Config.MaxResolution", "large");
  SetParameter("ImageSource.I0.Config.CaptureMode", "");
  machine.saves = 0;
  EXPECT_EQ(0, Nv_ClampStreamSettings());
  EXPECT_EQ(0, machine.saves) << "no limits, no clamp";
}

TEST(Store, FindsTheNetworkStorageServer) {
  const std::vector<std::pair<std::map<std::string, std::string>, int>> cases = {
      {{}, -1},
      {{{"Event.Server.MaxCnt", "0"}, {"Event.Server.S0.Type", "ns"}}, -1},
      {{{"Event.Server.MaxCnt", "2"},
        {"Event.Server.S0.Type", "NS"},
        {"Event.Server.S1.Type", "ns"}},
       1},
      {{{"Event.Server.MaxCnt", "9999999999"},
        {"Event.Server.S3.Type", "ns"},
        {"Event.Server.S5.Type", "ns"}},
       3},
  };
  for (const auto& [parameters, index] : cases) {
    FitFakeCamera(parameters);
    EXPECT_EQ(0, Nv_FindNetworkStorageIndex());
    EXPECT_EQ(index, NsIndex);
  }
}

}  // namespace
