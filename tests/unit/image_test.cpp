// SPDX-License-Identifier: MIT
// Whole images: whose it is, filling it, restoring from it, chains that lie, power that fails.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "config/section_list.h"
#include "config/store.h"
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

const Parameters small_camera = {
    {"General.Brand.ProdNbr", "CAM-1"},
    {"General.Network.eth0.DNSServer1", ""},
    {"General.Network.eth0.IPAddress", "192.0.2.7"},
    {"General.System.HTTPPort", "80"},
    {"General.Time.SyncSource", "NTP"},
    {"General.UserID.Admin", "YWRtaW46c2VjcmV0"},
    {"ImageSource.I0.Config.CaptureMode", "1280x720@30"},
    {"ImageSource.I0.LensControl.FocusPos", "-3"},
    {"ImageSource.I0.LensControl.ZoomPos", "120"},
    {"StreamProfile.I0.Video.Resolution", "1280x720"},
    {"StreamProfile.I3.Video.FPS", "30"},
    {"StreamProfile.I3.Video.Resolution", "1280x720"},
};

bool Contains(const std::string& text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

int Start() {
  int found = -1;
  camera.actions.clear();
  (void)OutputOf([&] { found = StartDaemon(); });
  return found;
}

std::string ReadBack() {
  camera.actions.clear();
  return OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
}

// A filled EEPROM whose configuration is what comes back from it for good.
void FitStartedCamera() {
  FitCamera(small_camera);
  ASSERT_EQ(identification_empty, Start());
  ASSERT_EQ(identification_match, Start());
}

std::size_t ChainLength() {
  std::size_t nodes = 0;
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    ++nodes;
  }
  return nodes;
}

// Lines of "ADDRESS NAME BYTES... = VALUE"; "00*12" is a run of equal bytes.
std::string GoldenBytes() {
  std::ifstream file(GOLDEN_FOLDER "/factory_image.txt");
  std::string bytes;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(
        line.substr(0, line.find(" = ")).substr(std::min<std::size_t>(31, line.size())));
    for (std::string word; words >> word;) {
      const int count = word.size() > 2 ? std::stoi(word.substr(3)) : 1;
      bytes.append(static_cast<std::size_t>(count),
                   static_cast<char>(std::stoi(word, nullptr, 16)));
    }
  }
  return bytes;
}

TEST(Image, OfTheFactoryConfigurationIsGolden) {
  FitFactoryCamera();
  EXPECT_EQ("45+12029 0+45", WrittenBy([] { (void)Start(); })) << "identification last";
  EXPECT_EQ("\1\2\3\4"sv, Stored(41, 4));
  const std::string golden = GoldenBytes();
  EXPECT_EQ(golden.substr(0, 41), Stored(0, 41));
  EXPECT_TRUE(golden.substr(41) == Stored(45, golden.size() - 41)) << "see tools/update-golden";
  EXPECT_EQ(0xFF, camera.chip[12074]) << "nothing behind the image";
}

TEST(Image, WithoutConfigurationStaysAsItIs) {
  for (const char* content : {"", "<root><General>", "no xml", "<other/>"}) {
    FitCamera();
    camera.files[device_conf] = content;
    EXPECT_EQ(-1, Nv_LoadProductNumber());
    NsIndex = 3;
    EXPECT_EQ(-1, Nv_FindNetworkStorageIndex());
    EXPECT_EQ(3, NsIndex);
    EXPECT_EQ("", WrittenBy([] {
                (void)OutputOf([] { EXPECT_EQ(-1, Nv_InitEEprom() + Nv_ReadBackCheck() + 1); });
              }));
    EXPECT_TRUE(camera.actions.empty());
  }
}

TEST(Identification, SaysWhoseImageItIs) {
  const std::string long_name(40, 'p');
  struct Case {
    std::string damage;  // put at `address` of a filled EEPROM
    std::size_t address;
    std::string product;
    int found;
    int lines;  // the header's, and what is wrong with it
  };
  const std::vector<Case> cases = {
      {"", 0, "CAM-1", identification_match, 1},
      {"", 0, "CAM-12", identification_mismatch, 2},
      {"", 0, "cam-1", identification_mismatch, 2},
      {"\0"s, 9, "CAM-1", identification_mismatch, 2},
      {long_name.substr(0, 32), 9, long_name, identification_match, 1},
      {"\xFF\xFF", 39, "CAM-1", identification_empty, 1},
      {std::string(45, '\xFF'), 0, "CAM-1", identification_empty, 1},
      {"\0\0\0\0"s, 0, "CAM-1", identification_empty, 1},
      {"\2", 4, "CAM-1", identification_empty, 0},
      {"\0\0\0\1"s, 0, "CAM-1", identification_empty, 1},
      {"\0\0\0\x0B"s, 0, "CAM-1", identification_empty, 1},
  };
  for (const Case& each : cases) {
    FitStartedCamera();
    Store(each.address, each.damage);
    int found = -1;
    const auto check = [&] {
      return OutputOf([&] { found = Nv_CheckIdentification(eeprom_handle, each.product); });
    };
    camera.reads = 0;
    const std::string lines = check();
    EXPECT_EQ(each.found, found) << each.product << " at " << each.address;
    EXPECT_EQ(each.lines, std::ranges::count(lines, '\n')) << lines;
    // One bad read costs neither a factory reset nor a foreign image.
    for (long bad = 0, reads = camera.reads; bad < reads; ++bad) {
      camera.reads = 0;
      camera.refuse_read = bad;
      (void)check();
      ASSERT_EQ(each.found, found) << each.product << " with the bad read " << bad;
    }
    camera.refuse_read = -1;
    camera.width_answer = 1;
    (void)check();
    EXPECT_EQ(each.found, found) << "a positive answer is no refusal";
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
  EXPECT_EQ(identification_empty, Start());
}

TEST(Start, LeavesAMatchingImageAlone) {
  FitStartedCamera();
  camera.reads = 0;
  EXPECT_EQ("", WrittenBy([] { EXPECT_EQ(identification_match, Start()); }));
  EXPECT_EQ(45 + 12074, camera.reads);
  EXPECT_EQ(14U, ChainLength());
  EXPECT_EQ((Actions{"listen"}), camera.actions) << "nothing is saved";
}

TEST(Start, RestoresTheModuleOfAnotherCamera) {
  FitStartedCamera();
  const auto module = camera.chip;
  Parameters other = small_camera;
  other["General.Brand.ProdNbr"] = "CAM-2";
  other["General.Network.eth0.DNSServer1"] = "198.51.100.1";
  other["General.Network.eth0.IPAddress"] = "";
  other["ImageSource.I0.Config.CaptureMode"] = "640x480@25";
  other["ImageSource.I0.Config.CaptureModeFormatList"] = "1280x960@15,640x480@25";
  other["ImageSource.I0.Config.MaxResolution"] = "640x480";
  FitCamera(other);
  SetParameter("General.System.HTTPPort", "8080");
  camera.chip = module;
  EXPECT_EQ(
      "5347+64 41+4 4871+2 41+4 4873+2 41+4 8921+2 41+4 8923+2 41+4 8925+2 41+4 8928+2 41+4 0+45",
      WrittenBy([] { EXPECT_EQ(identification_mismatch, Start()); }));
  EXPECT_EQ((Actions{"restore", "sleep 3", "listen", "save", "save"}), camera.actions);
  EXPECT_EQ("80", Parameter("General.System.HTTPPort"));
  EXPECT_EQ("192.0.2.7", Parameter("General.Network.eth0.IPAddress"));
  EXPECT_EQ("198.51.100.1", Parameter("General.Network.eth0.DNSServer1")) << "nothing was stored";
  EXPECT_EQ("640x480@25", Parameter("ImageSource.I0.Config.CaptureMode")) << "not in the list";
  EXPECT_EQ("640x480", Parameter("StreamProfile.I3.Video.Resolution"));
  EXPECT_EQ("25", Parameter("StreamProfile.I3.Video.FPS"));
  EXPECT_EQ("CAM-2", Stored(9, 5));
  EXPECT_EQ(identification_match, Start());
}

TEST(ReadBack, FiltersWhatTheCameraCanNotDo) {
  FitStartedCamera();
  SetParameter("General.System.HTTPPort", "8080");
  SetParameter("ImageSource.I0.LensControl.FocusPos", "7");
  SetParameter("ImageSource.I0.LensControl.ZoomPos", "7");
  SetParameter("StreamProfile.I0.Video.Resolution", "640x480");
  SetParameter("Properties.Image.ResolutionFormat.List", "640x480,320x240");
  SetParameter("ImageSource.I0.Config.CaptureMode", "640x480@25");
  SetParameter("ImageSource.I0.Config.CaptureModeFormatList", "1280x720@30,640x480@25");
  std::string output;
  EXPECT_EQ("4871+2 41+4 4873+2 41+4 4871+2 41+4 4873+2 41+4",
            WrittenBy([&] { output = ReadBack(); }))
      << "the EEPROM follows the camera";
  EXPECT_EQ("\x02\x80\x01\xE0"sv, Stored(4871, 4));
  EXPECT_TRUE(Contains(output, "sVal=8080,sDeviceVal=80\n"));
  EXPECT_TRUE(Contains(output, "zoom position change\n"));
  EXPECT_TRUE(Contains(output, "sVal=640x480,sDeviceVal=1280x720\nupdate section value\n"));
  EXPECT_TRUE(output.ends_with("save device.conf\n"));
  EXPECT_EQ((Actions{"echo \"focus=-3\" >> /mnt/mtd/lens_position_change",
                     "echo \"zoom=120\" >> /mnt/mtd/lens_position_change", "save"}),
            camera.actions);
  EXPECT_EQ("7", Parameter("ImageSource.I0.LensControl.ZoomPos"));
  EXPECT_EQ("640x480", Parameter("StreamProfile.I0.Video.Resolution"));
  EXPECT_EQ("1280x720@30", Parameter("ImageSource.I0.Config.CaptureMode"));
}

std::string Header(std::uint32_t type, std::uint32_t next) {
  std::string header(9, '\1');
  for (std::size_t i = 0; i < 4; ++i) {
    header[i] = static_cast<char>(type >> (24 - 8 * i));
    header[5 + i] = static_cast<char>(next >> (24 - 8 * i));
  }
  return header;
}

TEST(ReadBack, EndsWhateverTheChainSays) {
  FitStartedCamera();
  const auto filled = camera.chip;
  const std::string file = camera.files[device_conf];
  struct Case {
    std::size_t address;
    std::string bytes;
    std::size_t sections;
    const char* line;
  };
  const std::vector<Case> cases = {
      {586, "\2", 14,
       "Unsupported data version 2, section type 3\nNv_ReadBackCheck: Read section error.\n"},
      {4829, Header(8, 4829), 9, "Nv_ReadBackCheck: Section chain loops at address 0x12dd.\n"},
      {10952, Header(10, 582), 14, "Section chain loops at address 0x246.\n"},
      {10952, Header(10, 0xFFFFFFF0), 17, "Unknown section type -1.\n"},
      {582, std::string(815, '\xFF'), 6, "loops at address 0xffffffff.\n"},
      {582, Header(3, 0x60000), 7, "Unknown section type -1.\n"},
  };
  for (const Case& each : cases) {
    camera.chip = filled;
    Store(each.address, each.bytes);
    EXPECT_TRUE(Contains(ReadBack(), each.line)) << each.line;
    EXPECT_EQ(each.sections, ChainLength()) << each.line;
  }
  // Every section type at every place of the chain: rows by position, payload by type.
  for (char type = 0; type <= 11; ++type) {
    camera.chip = filled;
    for (std::uint32_t at = 45; at != 0; at = 256U * camera.chip[at + 7] + camera.chip[at + 8]) {
      camera.chip[at + 3] = static_cast<std::uint8_t>(type);
    }
    (void)ReadBack();
    EXPECT_EQ(14U, ChainLength());
  }
  camera.absent = true;
  const auto before = camera.chip;
  camera.files[device_conf] = file;
  (void)ReadBack();
  EXPECT_LE(ChainLength(), 257U) << "an absent chip answers with the address";
  EXPECT_EQ(identification_empty, Start());
  EXPECT_EQ(file, camera.files[device_conf]);
  EXPECT_EQ(before, camera.chip);
}

TEST(ReadBack, IsBoundedByWhatTheChipCanTell) {
  FitStartedCamera();
  // A header every 4 bytes: its next address is the type of the one behind the next. The last one
  // of a 64 KiB block goes to the next block.
  std::size_t sections = 0;
  const auto size = static_cast<std::uint32_t>(camera.chip.size());
  for (std::uint32_t at = 0; at < size; ++sections) {
    const std::uint32_t next = (at & 0xFFFFU) < 0xFFF0 ? at + 4 : (at | 0xFFFFU) + 1;
    Store(at + 5, Header(next % size, 0).substr(0, 4));
    at = next;
  }
  camera.reads = 0;
  (void)ReadBack();
  EXPECT_EQ(sections, ChainLength());
  EXPECT_EQ(9 * sections + 36, static_cast<std::size_t>(camera.reads));
  SectionList_Free();
}

// What follows a power failure is the old image or one that is filled again from the
// configuration: never a factory reset, never a lost setting.
TEST(PowerCut, InAFillOrResetCostsNothing) {
  FitStartedCamera();
  const std::string file = camera.files[device_conf];
  const std::string sections = Stored(45, 12029);
  std::map<int, int> outcomes;
  const auto check = [&] {
    if (Stored(0, 4) != "SPRK" && outcomes[identification_empty] % 97 != 0) {
      ++outcomes[identification_empty];  // starting over is the same each time
      return;
    }
    const bool header_torn = Stored(5, 4) == "\0\0\xA5\xA5"sv || Stored(5, 2) == "\xA5\xA5"sv;
    ++outcomes[Start()];
    EXPECT_TRUE(sections == Stored(45, sections.size()));
    EXPECT_TRUE(header_torn || ChainLength() == 14);
    EXPECT_EQ(file, camera.files[device_conf]);
  };
  const auto fill = [] { (void)OutputOf([] { EXPECT_EQ(0, Nv_InitEEprom()); }); };
  ForEachCut(Nv_ClearEepromHeader, check);
  EXPECT_EQ(1, outcomes[identification_match]) << "the first transfer of a reset, lost";
  Nv_ClearEepromHeader();
  ForEachCut(fill, check);
  FitCamera(small_camera);
  camera.files[device_conf] = file;
  ForEachCut(fill, check);
  EXPECT_EQ(0, outcomes[identification_mismatch]);
  (void)std::printf("%d cuts start over, %d leave a complete image\n",
                    outcomes[identification_empty], outcomes[identification_match]);
}

}  // namespace
