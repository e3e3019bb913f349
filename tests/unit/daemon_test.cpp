// SPDX-License-Identifier: MIT
// The daemon without its process: whose image it finds, what it fills and restores, what a message
// writes, and what a power failure makes of all that.
#include <gtest/gtest.h>

#include "config/change_propagation.h"
#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "daemon/reset_button.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "eeprom/restore.h"
#include "tests/fakes/emulated_camera.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using Actions = std::vector<std::string>;

const Parameters settings = {
    {"Event.Server.MaxCnt", "3"},
    {"Event.Server.S1.Location", "//nas/video"},
    {"Event.Server.S1.Protocol", "cifs"},
    {"Event.Server.S1.Type", "ns"},
    {"General.Brand.ProdNbr", "CAM-1"},
    {"General.Network.eth0.DNSServer1", ""},
    {"General.Network.eth0.IPAddress", "192.0.2.7"},
    {"General.System.HTTPPort", "80"},
    {"General.UserID.U1.User", "Ym9iOndvcmQ=,00010001"},
    {"Image.OSD.Alias", "G=te"},
    {"Image.OSD.Date", "off"},
    {"Image.OSD.Title", "on"},
    {"ImageSource.I0.Config.CaptureMode", "1920x1080@30"},
    {"ImageSource.I0.LensControl.FocusPos", "-3"},
    {"ImageSource.I0.LensControl.ZoomPos", "120"},
    {"StreamProfile.I0.Video.Resolution", "1280x2000"},
    {"StreamProfile.I1.Video.FPS", "30"},
    {"StreamProfile.I1.Video.Resolution", "1920x1080"},
    {"StreamProfile.I2.Video.FPS", "25"},
    {"StreamProfile.I3.Video.FPS", "26"},
    {"StreamProfile.I3.Video.Resolution", "1281x720"},
};

std::string said;  // at the last start

int Start() {
  int found = -1;
  camera.actions.clear();
  said = OutputOf([&] { found = StartDaemon(); });
  return found;
}

// A filled EEPROM and a configuration to which nothing comes back from it.
void FitStartedCamera(const std::string& product = "CAM-1") {
  Parameters parameters = settings;
  parameters["General.Brand.ProdNbr"] = product;
  FitCamera(parameters);
  ASSERT_EQ(identification_empty, Start());
  ASSERT_EQ(identification_match, Start());
  camera.actions.clear();
}

std::string ReadBack() {
  return OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
}

std::string Send(std::string_view message) {
  return OutputOf([message] { Nv_HandleCommand(message); });
}

void ExpectLines(std::initializer_list<std::string_view> lines, const std::string& output) {
  for (const auto line : lines) EXPECT_NE(std::string::npos, output.find(line)) << output;
}

// Behind the identification section.
constexpr std::size_t first_section = 45;
constexpr std::size_t sections_size = EEPROM_IMAGE_SIZE - first_section;
const std::string whole_fill = "45+" + std::to_string(sections_size) + " 0+45";

TEST(Image, WithoutConfigurationStaysAsItIs) {
  for (const char* content : {"", "<root><General>", "no xml", "<other/>"}) {
    FitCamera();
    camera.files[device_conf] = content;
    NsIndex = 3;
    for (const auto call : {Nv_LoadProductNumber, Nv_FindNetworkStorageIndex, Nv_InitEEprom,
                            Nv_ReadBackCheck, Nv_ClampStreamSettings}) {
      EXPECT_EQ(-1, call());
    }
    EXPECT_EQ(3, NsIndex);
    EXPECT_TRUE(camera.writes.empty() && camera.actions.empty());
  }
}

TEST(Identification, SaysWhoseImageItIs) {
  // What is put where in a filled EEPROM, whose camera's that is to be, and what is found; the
  // lines are the header's, and what is wrong with it.
  const std::vector<std::tuple<std::string, std::size_t, const char*, int, int>> cases = {
      {"", 0, "CAM-1", identification_match, 1},
      {"", 0, "CAM-12", identification_mismatch, 2},
      {"\0"s, 9, "CAM-1", identification_mismatch, 2},
      {"\xFF\xFF", 39, "CAM-1", identification_empty, 1},
      {std::string(45, '\xFF'), 0, "CAM-1", identification_empty, 1},
      {"\2", 4, "CAM-1", identification_empty, 0},
      {"\0\0\0\1"s, 0, "CAM-1", identification_empty, 1},
  };
  for (const auto& [damage, address, product, expected, count] : cases) {
    FitStartedCamera();
    Store(address, damage);
    int found = -1;
    const auto check = [&] {
      camera.questions = 0;
      return OutputOf([&, p = product] { found = Nv_CheckIdentification(eeprom_handle, p); });
    };
    const std::string lines = check();
    EXPECT_EQ(expected, found) << product << " at " << address;
    EXPECT_EQ(count, std::ranges::count(lines, '\n')) << lines;
    // One bad read or request costs neither a factory reset nor a foreign image.
    EXPECT_LT(9, camera.questions);
    for (camera.refuse_question = camera.questions; camera.refuse_question-- > 0;) {
      (void)check();
      ASSERT_EQ(expected, found) << "with the bad one " << camera.refuse_question;
    }
    camera.width_answer = 1;
    (void)check();
    EXPECT_EQ(expected, found) << "a positive answer is no refusal";
    camera.width_answer = -1;
    (void)check();
    EXPECT_EQ(identification_empty, found);
  }
}

TEST(Identification, OfATestBoardOrAClearedHeaderIsNone) {
  FitStartedCamera();
  EXPECT_FALSE(Nv_IsMftBoard(eeprom_handle));
  EXPECT_EQ("0+4", WrittenBy(Nv_ClearEepromHeader));
  Store(0, "MFT\0"sv);
  EXPECT_TRUE(Nv_IsMftBoard(eeprom_handle));
  Store(0, "MFT\1");
  EXPECT_FALSE(Nv_IsMftBoard(eeprom_handle));
  EXPECT_EQ(whole_fill, WrittenBy([] { EXPECT_EQ(identification_empty, Start()); }))
      << "identification last";
  ExpectLines({"\neeprom is empty, starting eeprom initial...\nid=CAM-1,time=16909060\n",
               "Section Version=0x1,next address=0x0\n"},
              said);
  EXPECT_EQ("\1\2\3\4"sv, Stored(41, 4));
}

TEST(Start, LeavesAMatchingImageAlone) {
  for (const std::string& product : {"CAM-1"s, std::string(40, 'p')}) {
    FitStartedCamera(product);
    SetParameter("ImageSource.I0.Config.MaxResolution", "640x480");  // for another product's
    camera.questions = 0;
    EXPECT_EQ("", WrittenBy([] { EXPECT_EQ(identification_match, Start()); }));
    // Each byte once, the identification twice, and the width with each section.
    EXPECT_EQ(long{45 + EEPROM_IMAGE_SIZE + 2 + chain_sections}, camera.questions);
    EXPECT_EQ(chain_sections, section_list.size());
    EXPECT_EQ((Actions{"listen"}), camera.actions) << "nothing is saved";
    EXPECT_EQ(std::string::npos, said.find("save")) << said;
  }
}

// The camera has another sensor, and a lens that the module knows nothing of.
TEST(Start, RestoresTheModuleOfAnotherCamera) {
  FitStartedCamera();
  const auto module = camera.chip;
  // Nothing stored overwrites nothing, a capture mode has to be in the list, the width decides.
  const std::vector<std::array<const char*, 3>> parameters = {
      {"Event.Server.S1.Location", "//nas/attic", "//nas/video"},
      {"General.Network.eth0.DNSServer1", "198.51.100.1", "198.51.100.1"},
      {"General.Network.eth0.IPAddress", "", "192.0.2.7"},
      {"General.System.HTTPPort", "8080", "80"},
      {"ImageSource.I0.Config.CaptureMode", "1280x960@25", "1280x960@25"},
      {"ImageSource.I0.Config.MaxResolution", "1280x960", "1280x960"},
      {"ImageSource.I0.LensControl.FocusPos", "7", "7"},
      {"ImageSource.I0.LensControl.ZoomPos", "7", "7"},
      {"StreamProfile.I0.Video.Resolution", "1280x2000", "1280x2000"},
      {"StreamProfile.I1.Video.FPS", "30", "25"},
      {"StreamProfile.I1.Video.Resolution", "640x480", "640x480"},
      {"StreamProfile.I3.Video.FPS", "26", "25"},
      {"StreamProfile.I3.Video.Resolution", "1281x720", "1280x960"},
  };
  Parameters other = settings;
  for (const auto& [path, before, after] : parameters) other[path] = before;
  other["General.Brand.ProdNbr"] = "CAM-2";
  other["ImageSource.I0.Config.CaptureModeFormatList"] = "1920x1080@15,1280x960@25";
  other["Properties.Image.ResolutionFormat.List"] = "1280x960,1280x2000,1281x720,640x480";
  FitCamera(other);
  camera.chip = module;
  EXPECT_EQ(
      "5347+64 41+4 6221+2 41+4 6223+2 41+4 6221+2 41+4 6223+2 41+4 8921+2 41+4 8923+2 41+4 "
      "6225+2 41+4 6228+2 41+4 8925+2 41+4 8928+2 41+4 0+45",
      WrittenBy([] { EXPECT_EQ(identification_mismatch, Start()); }));
  ExpectLines({"\nproduct id not match\n", "\nsVal=8080,sDeviceVal=80\n",
               "\nzoom position change\n", "\nsave device.conf\n",
               "=0x1d69\nsVal=640x480,sDeviceVal=1920x1080\nupdate section value\n"},
              said);
  EXPECT_EQ(
      (Actions{"restore", "sleep 3", "listen", "echo \"focus=-3\" >> /mnt/mtd/lens_position_change",
               "echo \"zoom=120\" >> /mnt/mtd/lens_position_change", "save", "save"}),
      camera.actions);
  for (const auto& [path, before, after] : parameters) EXPECT_EQ(after, Parameter(path)) << path;
  EXPECT_EQ("\x05\x00\x03\xC0\x09\xC4"sv, Stored(8921, 6)) << "the EEPROM follows";
  EXPECT_EQ("\x02\x80\x01\xE0"sv, Stored(6221, 4)) << "with what the camera keeps";
  EXPECT_EQ("CAM-2", Stored(9, 5));
  EXPECT_EQ(identification_match, Start());
}

TEST(Clamp, NeedsLimitsAndComparesWidths) {
  FitStartedCamera();
  SetParameter("ImageSource.I0.Config.MaxResolution", "640");
  SetParameter("ImageSource.I0.Config.CaptureMode", "640x480");
  SetParameter("StreamProfile.I1.Video.Resolution", "640x480");
  EXPECT_EQ("", WrittenBy([] { EXPECT_EQ(0, Nv_ClampStreamSettings()); }));
  EXPECT_EQ("640x480", Parameter("StreamProfile.I1.Video.Resolution"));
  (void)ReadBack();
  EXPECT_EQ("1920x1080", Parameter("StreamProfile.I1.Video.Resolution")) << "no list, no limit";
  SetParameter("ImageSource.I0.Config.MaxResolution", "1920x1080");
  SetParameter("StreamProfile.I2.Video.Resolution", "1921");
  EXPECT_EQ("7571+2 41+4 7573+2 41+4", WrittenBy([] { EXPECT_EQ(0, Nv_ClampStreamSettings()); }));
  EXPECT_EQ("1920x1080", Parameter("StreamProfile.I2.Video.Resolution"));
}

TEST(ReadBack, EndsWhateverTheChainSays) {
  FitStartedCamera();
  const auto filled = camera.chip;
  const std::vector<std::tuple<std::size_t, std::string, std::size_t, const char*>> cases = {
      // what is put where, how many sections are seen then, and what is said
      {586, "\2", chain_sections,
       "Unsupported data version 2, section type 3\nNv_ReadBackCheck: Read section error.\n"},
      {4829, "\0\0\0\x08\1\0\0\x12\xDD"s, 9,
       "Nv_ReadBackCheck: Section chain loops at address 0x12dd.\n"},
      {582, std::string(815, '\xFF'), 6, "loops at address 0xffffffff.\n"},
      {582, "\0\0\0\3\1\0\6\0\0"s, 7, "Unknown section type -1.\n"},
  };
  for (const auto& [address, bytes, sections, line] : cases) {
    camera.chip = filled;
    Store(address, bytes);
    ExpectLines({line}, ReadBack());
    EXPECT_EQ(sections, section_list.size()) << line;
  }
  camera.absent = true;
  (void)ReadBack();
  EXPECT_LE(section_list.size(), 257U) << "an absent chip answers with the address";
}

// What follows a power failure is the old image or one that is filled again from the
// configuration: never a factory reset, never a lost setting.
TEST(PowerCut, InAFillOrResetCostsNothing) {
  FitStartedCamera();
  const std::string file = camera.files[device_conf];
  const std::string sections = Stored(first_section, sections_size);
  std::map<int, int> outcomes;
  const auto check = [&] {
    if (Stored(0, 4) != "SPRK" && outcomes[identification_empty] % 97 != 0) {
      ++outcomes[identification_empty];  // starting over is the same each time
      return;
    }
    // A header that is rewritten with what it held can still be torn.
    const bool is_torn = Stored(5, 4).find('\xA5') != std::string::npos;
    ++outcomes[Start()];
    EXPECT_TRUE(sections == Stored(45, sections.size()));
    EXPECT_TRUE(is_torn || section_list.size() == chain_sections);
    EXPECT_EQ(file, camera.files[device_conf]);
  };
  const auto fill = [] { (void)OutputOf([] { EXPECT_EQ(0, Nv_InitEEprom()); }); };
  ForEachCut(Nv_ClearEepromHeader, check);
  EXPECT_EQ(1, outcomes[identification_match]) << "the first transfer of a reset, lost";
  Nv_ClearEepromHeader();
  ForEachCut(fill, check);
  EXPECT_EQ(3, std::exchange(outcomes[identification_mismatch], 0))
      << "a product number torn in a reset: one more reset";
  std::ranges::fill(camera.chip, std::uint8_t{0xFF});
  ForEachCut(fill, check);
  EXPECT_EQ(0, outcomes[identification_mismatch]);
}

// The message, what is printed, the runs of bytes, and what the EEPROM holds then from where on.
// clang-format off
const std::vector<std::tuple<std::string, const char*, const char*, std::string, std::size_t>> messages = {
    {"General.System.HTTPPort=8080", "", "753+2 41+4", "\x1F\x90", 753},
    {"General.Network.eth0.IPAddress=192.0.2.1=x", "", "592+32 41+4", "192.0.2.1=x" + std::string(21, '\0'), 592},
    {"Event.Server.S1.Location=host:/" + std::string(121, 'p'), "", "10995+32 41+4 11027+256 41+4", "/" + std::string(121, 'p') + std::string(134, '\0'), 11027},
    {"ImageSource.RecordIndex=2", "", "10246+32 41+4 11364+32 41+4", "Profile3\0"s, 11364},
    {"Image.OSD.Date=on", "", "1471+1 41+4 1472+64 41+4", "\3G=te %T\0"s, 1471},
    {"Event.Media.M1.Type=snapshot", "", "11359+1 41+4", "\1", 11359},
    {"General.UserID.U1.User=Ym9iOndvcmQ=,01000001", "", "321+32 41+4 481+32 41+4 579+1 41+4", "\0"s, 579},
    {"remove_stpf=1", "", "6179+1350", "\0\0\0\x08\1\0\0\x1D\x69"s + std::string(41, '\0') + "\1", 6179},
    {"remove_userX=1", "i=2\ni=7\ni=12\n", "321+32 41+4 481+32 41+4 579+1 41+4", std::string(32, '\0'), 321},
    {"remove_record=0", "", "10239+1 41+4 10504+64 41+4 10568+64 41+4 10632+64 41+4 10696+64 41+4 11357+1 41+4 11562+64 41+4 11626+64 41+4 11690+64 41+4 11818+64 41+4", "\0"s, 10239},
    {"remove_server=1", "remove sever=1\nNsIndex=-1\n", "10952+1122", "\0\0\0\x0A\1\0\0\0\0\0"s, 10952},
    {"add_serverns=2", "NsIndex=2\n", "10961+1", "\1", 10961},
    {"General.Brand.ProdNbr=" + std::string(40, 'n'), "", "9+32", std::string(32, 'n'), 9},
    {"General.Brand.ProdNbr=Z", "", "9+32", "Z" + std::string(31, '\0'), 9},
};
// clang-format on

TEST(Message, WritesExactlyItsFields) {
  for (const auto& [message, printed, written, shown, at] : messages) {
    FitStartedCamera();
    std::string output;
    Store(at, std::string(shown.size(), '#'));
    EXPECT_EQ(written, WrittenBy([&, m = message] { output = Send(m); })) << message;
    EXPECT_EQ(printed, output);
    EXPECT_EQ(shown, Stored(at, shown.size())) << message;
    if (message.starts_with("General.Brand")) {
      EXPECT_EQ(message.substr(22), Slot_Text(product_number));
    }
    Actions asked;  // for the other paths of a row; and nothing is saved
    if (message.starts_with("Image.OSD.Date=")) asked = {"Title", "Title", "Alias"};
    for (auto& path : asked) path = "/bin/xmlcfg -g Image.OSD." + path + " /etc/device.conf 2>&1";
    EXPECT_EQ(asked, camera.actions) << message;
  }
}

TEST(Message, OfNothingThatThereIsWritesNothing) {
  FitStartedCamera();
  for (const char* message :
       {"", "=x", "remove_stpf=4", "remove_server=2", "Event.Server.S2.Type=ns",
        "Event.Server.S%d.Type=ns", "General.System.HTTPPor=1", "General.System.HTTPPort",
        "Image.OSD.Date,Image.OSD.Title=on"}) {
    EXPECT_EQ("", WrittenBy([message] { (void)Send(message); })) << message;
  }
}

TEST(Message, GoesOnAfterRefusedTransfers) {
  FitStartedCamera();
  camera.absent = true;
  EXPECT_EQ("592+2 596+2 600+2 604+2 608+2 612+2 616+2 620+2 41+2",
            WrittenBy([] { (void)Send("General.Network.eth0.IPAddress=192.0.2.99"); }))
      << "each piece is tried, each primitive stops at its first";
}

TEST(Store, FindsTheFirstNetworkStorageServer) {
  const std::vector<std::tuple<const char*, const char*, const char*, int>> cases = {
      {"0", "ns", "ns", -1},
      {"6", "ns", "ns", 1},
      {"6", "nsx", "ns", 5},
      {"5", "NS", "ns", -1},
      {"9999999999", "NS", "NS", -1}};
  for (const auto& [count, type, other, index] : cases) {
    FitCamera({{"Event.Server.MaxCnt", count},
               {"Event.Server.S1.Type", type},
               {"Event.Server.S5.Type", other},
               {"Event.Server.S65536.Type", "ns"}});
    EXPECT_EQ(0, Nv_FindNetworkStorageIndex());
    EXPECT_EQ(index, NsIndex);
  }
}

}  // namespace
