// SPDX-License-Identifier: MIT
// Whole images: whose it is, filling it, restoring from it, chains that lie.
#include <gtest/gtest.h>

#include "config/section_list.h"
#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "eeprom/restore.h"
#include "param/section_map.h"
#include "sections/section.h"
#include "tests/fakes/fake_chip.h"
#include "tests/fakes/fake_machine.h"

namespace {

const std::vector<std::pair<std::uint32_t, std::uint32_t>> chain = {  // address, type
    {0, 0x5350524B}, {45, 1},   {248, 2},  {582, 3},  {1397, 4}, {2848, 5},  {3511, 6},
    {4171, 7},       {4829, 8}, {6179, 8}, {7529, 8}, {8879, 8}, {10229, 9}, {10952, 10}};

const std::map<std::string, std::string> small_camera = {
    {"General.System.HTTPPort", "80"},
    {"General.Network.eth0.IPAddress", "192.0.2.7"},
    {"General.Time.TimeZone", "GMT 08:00/Asia/Taipei"},
    {"General.Time.SyncSource", "NTP"},
    {"General.UserID.Admin", "YWRtaW46c2VjcmV0"},
    {"ImageSource.I0.LensControl.ZoomPos", "120"},
    {"StreamProfile.I0.Video.Resolution", "1280x720"},
    {"ImageSource.I0.Config.CaptureMode", "1280x720@30"},
};

std::uint32_t ReadNumber(std::uint32_t address, int count) {
  std::uint32_t value = 0;
  (void)EEprom_SelectByteWidth(eeprom_handle);
  EEprom_Read(eeprom_handle, address, value, count);
  return value;
}

void FillImage() {
  (void)OutputOf([] { ASSERT_EQ(0, Nv_InitEEprom()); });
}

std::string ReadBack() {
  return OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
}

bool Contains(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

void Put(std::uint32_t address, std::string_view bytes) {
  std::copy(bytes.begin(), bytes.end(), chip.bytes.begin() + address);
}

TEST(Image, IsFilledSectionBySectionIdentificationLast) {
  FitFakeCamera(small_camera);
  FillImage();
  for (std::size_t i = 0; i < chain.size(); ++i) {
    EXPECT_EQ(chain[i].second, ReadNumber(chain[i].first, 4));
    EXPECT_EQ(1U, ReadNumber(chain[i].first + 4, 1));
    EXPECT_EQ(i + 1 < chain.size() ? chain[i + 1].first : 0, ReadNumber(chain[i].first + 5, 4));
  }
  EXPECT_EQ(80U, ReadNumber(582 + 9 + 162, 2));
  EXPECT_EQ(0xFF, chip.bytes[12074]) << "nothing behind the image";
  EXPECT_EQ(0, machine.saves);

  std::uint32_t last_of_chain = 0;
  std::uint32_t first_of_identification = 0;
  for (std::uint32_t i = 0; i < chip.events.size(); ++i) {
    if (chip.events[i].kind != BusEvent::write) continue;
    const auto& bytes = chip.events[i].bytes;
    const std::uint32_t address = bytes[0] + 256U * bytes[1];
    if (address >= 45) last_of_chain = i;
    if (address == 0) first_of_identification = i;
  }
  EXPECT_LT(last_of_chain, first_of_identification);
}

TEST(Image, WithoutConfigurationStaysAsItIs) {
  for (const char* content : {"", "<root><General>", "no xml", "<other/>"}) {
    FitFakeCamera();
    machine.files[device_conf] = content;
    EXPECT_EQ(-1, Nv_InitEEprom());
    EXPECT_EQ(-1, Nv_ReadBackCheck());
    EXPECT_EQ(-1, Nv_LoadProductNumber());
    NsIndex = 3;
    EXPECT_EQ(-1, Nv_FindNetworkStorageIndex());
    EXPECT_EQ(3, NsIndex);
    EXPECT_TRUE(chip.events.empty());
    EXPECT_EQ(0, machine.saves);
  }
}

TEST(Image, BelongsToItsProduct) {
  struct Case {
    std::string stored;
    std::string_view product;
    int result;
  };
  const std::vector<Case> cases = {
      {"ABC", "ABC", identification_match},
      {"ABC", "ABCD", identification_mismatch},
      {"ABC", "abc", identification_mismatch},
      {"", "ABC", identification_mismatch},
      {std::string(40, 'p'), std::string_view("pppppppppppppppppppppppppppppppppppppppp"),
       identification_match},
  };
  for (const Case& each : cases) {
    FitFakeCamera();
    Nv_SetProductNumber("a longer one before");
    Nv_SetProductNumber(each.stored);
    (void)OutputOf([] { (void)Nv_WriteIdentification(); });
    EXPECT_EQ(std::string(each.stored).substr(0, 32) +
                  std::string(32 - std::min<std::size_t>(32, each.stored.size()), '\0'),
              chip.Text(9, 32));
    const std::string output = OutputOf(
        [&] { EXPECT_EQ(each.result, Nv_CheckIdentification(eeprom_handle, each.product)); });
    EXPECT_EQ(each.result == identification_mismatch, Contains(output, "product id not match\n"));
  }
}

TEST(Image, CountsAsEmptyWithoutValidIdentification) {
  const std::vector<std::pair<std::uint32_t, std::string>> damages = {
      {0, std::string(45, '\xFF')},
      {0, std::string(4, '\0')},
      {4, "\2"},
      {0, std::string("\0\0\0\1", 4)},
      {0, std::string("\0\0\0\x0B", 4)}};
  for (const auto& [address, bytes] : damages) {
    FitFakeCamera(small_camera);
    FillImage();
    Put(address, bytes);
    (void)OutputOf([] {
      EXPECT_EQ(identification_empty,
                Nv_CheckIdentification(eeprom_handle, Slot_Text(product_number)));
    });
  }
  FitFakeCamera();
  EXPECT_FALSE(Nv_IsMftBoard(eeprom_handle));
  Put(0, std::string_view("MFT\0", 4));
  EXPECT_TRUE(Nv_IsMftBoard(eeprom_handle));
}

TEST(Image, ThatMatchesChangesNothing) {
  FitFakeCamera(small_camera);
  FillImage();
  (void)ReadBack();  // conversions are not inverse; what comes back once comes back for good
  machine.saves = 0;
  chip.events.clear();
  chip.writes = 0;
  const std::string output = ReadBack();
  EXPECT_FALSE(Contains(output, "sVal="));
  EXPECT_FALSE(Contains(output, "save device.conf"));
  EXPECT_EQ(0, machine.saves);
  EXPECT_EQ(0, chip.writes);
  std::size_t reads = 0;
  for (const BusEvent& event : chip.events) reads += event.kind == BusEvent::read ? 1 : 0;
  EXPECT_EQ(12074U, reads) << "each byte of the image once";
  std::size_t nodes = 0;
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    ASSERT_LT(nodes, chain.size());
    EXPECT_EQ(chain[nodes].first, node->address);
    EXPECT_EQ(SectionType{chain[nodes].second}, node->type);
    EXPECT_EQ(&section_maps[nodes], node->map);
    ++nodes;
  }
  EXPECT_EQ(chain.size(), nodes);
}

TEST(Image, RestoresAnotherModule) {
  FitFakeCamera(small_camera);
  FillImage();
  SetParameter("General.System.HTTPPort", "8080");
  SetParameter("General.Network.eth0.IPAddress", "");
  SetParameter("General.Network.eth0.DNSServer1", "198.51.100.1");
  SetParameter("General.UserID.Admin", "");
  machine.saves = 0;
  const std::string output = ReadBack();
  EXPECT_TRUE(Contains(output, "sVal=8080,sDeviceVal=80\n"));
  EXPECT_TRUE(Contains(output, "sVal=,sDeviceVal=192.0.2.7\n"));
  EXPECT_EQ("80", Parameter("General.System.HTTPPort"));
  EXPECT_EQ("192.0.2.7", Parameter("General.Network.eth0.IPAddress"));
  EXPECT_EQ("YWRtaW46c2VjcmV0", Parameter("General.UserID.Admin"));
  EXPECT_EQ("198.51.100.1", Parameter("General.Network.eth0.DNSServer1"))
      << "an empty stored value never overwrites";
  EXPECT_TRUE(output.ends_with("save device.conf\n"));
  EXPECT_EQ(1, machine.saves);
}

TEST(Image, FiltersWhatTheCameraCanNotDo) {
  FitFakeCamera(small_camera);
  FillImage();
  SetParameter("ImageSource.I0.LensControl.ZoomPos", "7");
  SetParameter("StreamProfile.I0.Video.Resolution", "640x480");
  SetParameter("ImageSource.I0.Config.CaptureMode", "640x480@25");
  SetParameter("Properties.Image.ResolutionFormat.List", "640x480,320x240");
  SetParameter("ImageSource.I0.Config.CaptureModeFormatList", "1280x720@30,640x480@25");
  const std::string output = ReadBack();
  EXPECT_EQ("7", Parameter("ImageSource.I0.LensControl.ZoomPos"));
  EXPECT_EQ("echo \"zoom=120\" >> /mnt/mtd/lens_position_change", machine.commands.at(0));
  EXPECT_TRUE(Contains(output, "zoom position change\n"));
  EXPECT_EQ("640x480", Parameter("StreamProfile.I0.Video.Resolution"));
  EXPECT_TRUE(Contains(output, "sVal=640x480,sDeviceVal=1280x720\nupdate section value\n"));
  EXPECT_EQ(640U, ReadNumber(4829 + 9 + 33, 2)) << "the EEPROM follows the camera";
  EXPECT_EQ(480U, ReadNumber(4829 + 9 + 35, 2));
  EXPECT_EQ("1280x720@30", Parameter("ImageSource.I0.Config.CaptureMode")) << "it is in the list";
}

TEST(Image, ThatEndsBadlyStillEnds) {
  FitFakeCamera(small_camera);
  FillImage();
  Put(582 + 4, "\2");  // a section of a version that nobody reads costs its own values only
  Put(582 + 9 + 1, "203.0.113.9");
  SetParameter("General.Time.SyncSource", "Manual");
  std::string output = ReadBack();
  EXPECT_TRUE(Contains(
      output,
      "Unsupported data version 2, section type 3\nNv_ReadBackCheck: Read section error.\n"));
  EXPECT_EQ("192.0.2.7", Parameter("General.Network.eth0.IPAddress"));
  EXPECT_EQ("NTP", Parameter("General.Time.SyncSource"));

  Put(10952 + 5, std::string_view("\0\0\2\x46", 4));  // the last section points back to the fourth
  output = ReadBack();
  EXPECT_TRUE(Contains(output, "Nv_ReadBackCheck: Section chain loops at address 0x246.\n"));

  Put(10952 + 5, std::string_view("\xFF\xFF\xFF\xF0", 4));  // outside the chip
  output = ReadBack();
  EXPECT_TRUE(Contains(output, "Unknown section type -1.\n"));
  EXPECT_TRUE(Contains(output, "loops at address 0xffffffff.\n"));
  SectionList_Free();
  EXPECT_EQ(nullptr, section_list);
}

// Every section type at every place of the chain: rows by position, payload by type.
TEST(Image, WithTypesOutOfPlaceIsHarmless) {
  for (std::uint32_t type = 0; type <= 11; ++type) {
    FitFakeCamera(small_camera);
    chip.records = false;
    FillImage();
    for (std::size_t i = 1; i < chain.size(); ++i) {
      chip.bytes[chain[i].first + 3] = static_cast<std::uint8_t>(type);
    }
    (void)ReadBack();
    for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
      EXPECT_TRUE(node->type == SectionType{type} || node->type == SectionType::none ||
                  node->type == SectionType::identification);
    }
    EXPECT_NE("(none)", Parameter("General.System.HTTPPort"));
  }
}

}  // namespace
