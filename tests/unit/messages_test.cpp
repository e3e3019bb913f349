// SPDX-License-Identifier: MIT
// Messages of the control socket: what they write, and what a power failure makes of that.
#include <gtest/gtest.h>

#include "config/change_propagation.h"
#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "daemon/log.h"
#include "daemon/signals.h"
#include "eeprom/identification.h"
#include "tests/fakes/emulated_camera.h"

namespace {

using namespace std::string_literals;
using Actions = std::vector<std::string>;

const Parameters settings = {
    {"Audio.AudioSource.A0.AudioInputGain", "10"},
    {"Event.MemoryCard.Media.PreAlarm", "5"},
    {"Event.Scheduled.S0.Enabled", "on"},
    {"Event.Scheduled.S0.FileSize", "50"},
    {"Event.Scheduled.S0.ServerType", "LS"},
    {"Event.Server.MaxCnt", "3"},
    {"Event.Server.S1.Location", "//nas/video"},
    {"Event.Server.S1.Protocol", "cifs"},
    {"Event.Server.S1.Type", "ns"},
    {"General.Brand.ProdNbr", "CAM-1"},
    {"General.Network.eth0.IPAddress", "192.0.2.7"},
    {"General.System.HTTPPort", "80"},
    {"General.UserID.U1.User", "Ym9iOndvcmQ=,00010001"},
    {"Image.OSD.Alias", "Gate"},
    {"Image.OSD.Date", "off"},
    {"Image.OSD.Title", "on"},
    {"ImageSource.RecordIndex", "0"},
    {"StreamProfile.I1.Video.FPS", "30"},
    {"StreamProfile.I1.Video.Resolution", "1920x1080"},
    {"StreamProfile.I3.Video.FPS", "15"},
};

struct Message {
  std::string text;
  std::string output;
  std::string written;  // runs of bytes
  std::string shown;    // what the EEPROM holds then ...
  std::size_t at;       // ... from here on
  std::string own;      // the parameters that it may cost begin so
};
// clang-format off
const std::vector<Message> messages = {
    {"General.System.HTTPPort=8080", "", "753+2 41+4", "\x1F\x90", 753, "General.System.HTTPPort"},
    {"General.Network.eth0.IPAddress=192.0.2.1=x", "", "592+32 41+4", "192.0.2.1=x" + std::string(21, '\0'), 592, "General.Network.eth0.IPAddress"},
    {"Event.Server.S1.Location=host:/" + std::string(90, 'p'), "", "10995+32 41+4 11027+256 41+4", "/" + std::string(90, 'p') + std::string(165, '\0'), 11027, "Event.Server.S1.Location"},
    {"ImageSource.RecordIndex=2", "", "10246+32 41+4 11364+32 41+4", "Profile3\0"s, 11364, "ImageSource.RecordIndex"},
    {"Image.OSD.Date=on", "", "1471+1 41+4 1472+64 41+4", "\3Gate %T\0"s, 1471, "Image.OSD"},
    {"General.UserID.U1.User=Ym9iOndvcmQ=,01000001", "", "321+32 41+4 481+32 41+4 579+1 41+4", "\0"s, 579, "General.UserID"},
    {"remove_stpf=1", "", "6179+1350", "\0\0\0\x08\1\0\0\x1D\x69\0"s, 6179, "StreamProfile.I1"},
    {"remove_userX=1", "i=2\ni=7\ni=12\n", "321+32 41+4 481+32 41+4 579+1 41+4", std::string(32, '\0'), 321, "General.UserID.U1"},
    {"remove_record=0", "", "10239+1 41+4 10504+64 41+4 10568+64 41+4 10632+64 41+4 10696+64 41+4 11357+1 41+4 11562+64 41+4 11626+64 41+4 11690+64 41+4 11818+64 41+4", "\0"s, 10239, "Event.Scheduled.S0"},
    {"remove_server=1", "remove sever=1\nNsIndex=-1\n", "10952+1122", "\0\0\0\x0A\1\0\0\0\0\0"s, 10952, "Event.S"},
    {"add_serverns=2", "NsIndex=2\n", "10961+1", "\1", 10961, "Event.S"},
    {"General.Brand.ProdNbr=" + std::string(40, 'n'), "", "9+32", std::string(32, 'n'), 9, "General.Brand.ProdNbr"},
    {"General.Brand.ProdNbr=Z", "", "9+32", "Z" + std::string(31, '\0'), 9, "General.Brand.ProdNbr"},
    // Nothing of the kind.
    {"remove_stpf=4", "", "", "", 0, ""},
    {"remove_server=2", "remove sever=2\n", "", "", 0, ""},
    {"Event.Server.S2.Type=ns", "", "", "", 0, ""},
    {"Event.Server.S%d.Type=ns", "", "", "", 0, ""},
    {"General.System.HTTPPor=1", "", "", "", 0, ""},
    {"General.System.HTTPPort", "", "", "", 0, ""},
    {"Image.OSD.Date,Image.OSD.Title=on", "", "", "", 0, ""},
    {"=x", "", "", "", 0, ""},
    {"", "", "", "", 0, ""},
};
// clang-format on

int Start() {
  int found = -1;
  (void)OutputOf([&] { found = StartDaemon(); });
  return found;
}

// An image and a configuration that has everything that comes back from it.
void FitStartedCamera() {
  FitCamera(settings);
  ASSERT_EQ(identification_empty, Start());
  ASSERT_EQ(identification_match, Start());
  camera.actions.clear();
}

std::string Send(std::string_view message) {
  return OutputOf([message] { Nv_HandleCommand(message); });
}

TEST(Message, WritesExactlyItsFields) {
  for (const Message& message : messages) {
    FitStartedCamera();
    std::string output;
    EXPECT_EQ(message.written, WrittenBy([&] { output = Send(message.text); })) << message.text;
    EXPECT_EQ(message.output, output);
    EXPECT_EQ(message.shown, Stored(message.at, message.shown.size())) << message.text;
    if (message.text.starts_with("General.Brand")) {
      EXPECT_EQ(message.text.substr(22), Slot_Text(product_number));
    }
    EXPECT_EQ(message.text.starts_with("Image.OSD.Date=")
                  ? Actions({"/bin/xmlcfg -g Image.OSD.Title /etc/device.conf 2>&1",
                             "/bin/xmlcfg -g Image.OSD.Title /etc/device.conf 2>&1",
                             "/bin/xmlcfg -g Image.OSD.Alias /etc/device.conf 2>&1"})
                  : Actions(),
              camera.actions)
        << "only the other paths of a row are asked for, nothing is saved";
  }
}

TEST(Message, ThatIsCutCostsItsOwnFieldsOnly) {
  for (const Message& message : messages) {
    FitStartedCamera();
    const std::string file = camera.files[device_conf];
    std::map<std::string, int> outcomes;
    ForEachCut([&] { (void)Send(message.text); },
               [&] {
                 const int found = Start();
                 std::size_t sections = 0;
                 for (auto* node = section_list.get(); node != nullptr; node = node->next.get()) {
                   ++sections;
                 }
                 // A header that is rewritten with what it held can still be torn.
                 ++outcomes[found != identification_match ? "another product's"
                            : sections != 14              ? "torn chains"
                                                          : "matching"];
                 for (const auto& [path, value] : settings) {
                   if (path.starts_with(message.own)) SetParameter(path, value);
                 }
                 EXPECT_EQ(file, camera.files[device_conf]) << message.text;
               });
    for (const auto& [outcome, count] : outcomes) {
      (void)std::printf("%.30s: %d %s\n", message.text.c_str(), count, outcome.c_str());
    }
    EXPECT_LE(outcomes["torn chains"], 2);
    EXPECT_EQ(message.text.starts_with("General.Brand"), outcomes["another product's"] > 0);
  }
}

TEST(Message, IsTracedInDebugMode) {
  FitStartedCamera();
  EXPECT_EQ("Nvd : Turn On debug mode\n", OutputOf([] { Nv_ToggleDebug(SIGUSR2); }));
  EXPECT_EQ(1, debug_flag);
  EXPECT_EQ("## NVD : link list node=General.System.HTTPPort\n",
            Send("General.System.HTTPPort=81"));
  EXPECT_EQ("Nvd : Turn Off debug mode\n", OutputOf([] { Nv_ToggleDebug(SIGUSR2); }));
  EXPECT_EQ(0, debug_flag);
  EXPECT_EQ("Unknown signal -12\n", OutputOf([] { Nv_QuitHandler(-12); }));
}

TEST(Message, GoesOnAfterRefusedTransfers) {
  FitStartedCamera();
  camera.absent = true;
  EXPECT_EQ("592+2 596+2 600+2 604+2 608+2 612+2 616+2 620+2 41+2",
            WrittenBy([] { (void)Send("General.Network.eth0.IPAddress=192.0.2.99"); }))
      << "each piece is tried, each primitive stops at its first";
}

TEST(Clamp, LowersWhatTheSensorCanNotDo) {
  FitStartedCamera();
  SetParameter("ImageSource.I0.Config.MaxResolution", "1280x960");
  SetParameter("ImageSource.I0.Config.CaptureMode", "1280x960@25");
  SetParameter("StreamProfile.I0.Video.Resolution", "1280x2000");
  SetParameter("StreamProfile.I2.Video.Resolution", "1281");
  SetParameter("StreamProfile.I3.Video.Resolution", "wide");
  SetParameter("StreamProfile.I3.Video.FPS", "26");
  camera.actions.clear();
  EXPECT_EQ(
      "6221+2 41+4 6223+2 41+4 7571+2 41+4 7573+2 41+4 6225+2 41+4 6228+2 41+4 8925+2 41+4 8928+2 "
      "41+4",
      WrittenBy([] { EXPECT_EQ(0, Nv_ClampStreamSettings()); }));
  EXPECT_EQ("1280x2000", Parameter("StreamProfile.I0.Video.Resolution")) << "the width decides";
  EXPECT_EQ("1280x960", Parameter("StreamProfile.I1.Video.Resolution"));
  EXPECT_EQ("1280x960", Parameter("StreamProfile.I2.Video.Resolution"));
  EXPECT_EQ("wide", Parameter("StreamProfile.I3.Video.Resolution"));
  EXPECT_EQ("25", Parameter("StreamProfile.I1.Video.FPS"));
  EXPECT_EQ("25", Parameter("StreamProfile.I3.Video.FPS"));
  EXPECT_EQ("\x05\x00\x03\xC0\x09\xC4"s, Stored(6179 + 9 + 33, 6));
  EXPECT_EQ(Actions{"save"}, camera.actions);
  EXPECT_EQ(0, Nv_ClampStreamSettings());
  EXPECT_EQ(Actions{"save"}, camera.actions) << "nothing left to lower";
  SetParameter("ImageSource.I0.Config.MaxResolution", "640");
  SetParameter("ImageSource.I0.Config.CaptureMode", "640x480");
  camera.actions.clear();
  EXPECT_EQ(0, Nv_ClampStreamSettings());
  EXPECT_TRUE(camera.actions.empty()) << "no limits, no clamp";
}

TEST(Store, FindsTheNetworkStorageServer) {
  const std::vector<std::pair<Parameters, int>> cases = {
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
    FitCamera(parameters);
    EXPECT_EQ(0, Nv_FindNetworkStorageIndex());
    EXPECT_EQ(index, NsIndex);
  }
}

}  // namespace
