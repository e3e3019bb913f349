// SPDX-License-Identifier: MIT
// The power fails at every transfer of everything that writes, in three ways: the transfer is lost,
// half of it arrives, its cells are torn. Then the camera starts again.
#include <gtest/gtest.h>

#include <set>

#include "config/section_list.h"
#include "config/store.h"
#include "daemon/commands.h"
#include "eeprom/backup.h"
#include "eeprom/identification.h"
#include "eeprom/restore.h"
#include "param/section_map.h"
#include "tests/fakes/fake_chip.h"
#include "tests/fakes/fake_daemon.h"
#include "tests/fakes/fake_machine.h"

namespace {

constexpr std::size_t image_size = 12074;
constexpr std::size_t identification_size = 45;
constexpr std::array survivors = {0, 1, -1};

const std::map<std::string, std::string> factory = {
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
    {"General.Time.TimeZone", "GMT 08:00/Asia/Taipei"},
    {"General.UserID.U1.User", "Ym9iOndvcmQ=,00010001"},
    {"ImageSource.I0.Iris.Value", "7"},
    {"ImageSource.I0.Sensor.Brightness", "50"},
    {"ImageSource.RecordIndex", "0"},
    {"StreamProfile.I0.Video.FPS", "25"},
    {"StreamProfile.I3.Video.FPS", "15"},
};

using Values = std::map<std::string, std::string>;

Values Configuration() {
  Values values;
  for (const auto& [path, value] : factory) values[path] = Parameter(path);
  return values;
}

// The user has changed every setting that has a number in it; "restore" puts the factory's back.
Values FitUsersCamera() {
  FitFakeCamera(factory);
  const std::string factory_file = machine.files[device_conf];
  machine.shell = [factory_file](const std::string& command) {
    if (command == "restore") machine.files[device_conf] = factory_file;
  };
  for (const char* path : {"General.System.HTTPPort", "StreamProfile.I3.Video.FPS",
                           "Event.MemoryCard.Media.PreAlarm", "ImageSource.I0.Iris.Value"}) {
    SetParameter(path, "12");
  }
  chip.records = false;
  return Configuration();
}

int Start() {
  int found = -1;
  (void)OutputOf([&] { found = StartDaemon(); });
  return found;
}

std::vector<std::uint8_t> Chip() { return {chip.bytes.begin(), chip.bytes.end()}; }

void PutChip(const std::vector<std::uint8_t>& bytes) {
  std::copy(bytes.begin(), bytes.end(), chip.bytes.begin());
  chip.dies_at_write = -1;
  chip.writes = 0;
}

std::size_t ChainLength() {
  std::size_t nodes = 0;
  for (const SectionNode* node = section_list.get(); node != nullptr; node = node->next.get()) {
    ++nodes;
  }
  return nodes;
}

// The transfers of an action, with what each one carries.
BusEvents TransfersOf(const std::function<void()>& action) {
  chip.events.clear();
  chip.records = true;
  (void)OutputOf(action);
  chip.records = false;
  std::erase_if(chip.events, [](const BusEvent& event) { return event.kind != BusEvent::write; });
  return chip.events;
}

// What a transfer leaves in the chip when the power fails in it.
void ApplyCut(std::vector<std::uint8_t>& bytes, const BusEvent& transfer, int kept) {
  const std::size_t width = transfer.bytes.size() - 2;
  const std::size_t address = transfer.bytes[0] + 256U * transfer.bytes[1];
  for (std::size_t i = 0; i < width; ++i) {
    if (kept < 0) bytes[address + i] = 0xA5;
    if (static_cast<int>(i) < kept) bytes[address + i] = transfer.bytes[1 + width - i];
  }
}

void Print(const char* what, int cuts, const std::map<std::string, int>& outcomes) {
  (void)std::printf("%s: %d cuts", what, cuts);
  for (const auto& [outcome, count] : outcomes) {
    (void)std::printf(", %d %s", count, outcome.c_str());
  }
  (void)std::puts("");
}

// The type of the identification goes out first; a cut behind it leaves a valid identification that
// may lack its next address or part of the product number. The values are in place by then.
TEST(PowerCut, InAFillStartsOverOrFindsEveryValue) {
  const Values users = FitUsersCamera();
  const std::string users_file = machine.files[device_conf];
  std::map<std::string, int> outcomes;
  int cuts = 0;
  (void)Nv_LoadProductNumber();
  (void)Nv_FindNetworkStorageIndex();
  std::vector<std::uint8_t> state(0x4000, 0xFF);
  const BusEvents transfers = TransfersOf([] { (void)Nv_InitEEprom(); });
  const std::string complete = chip.Text(identification_size, image_size - identification_size);
  ASSERT_EQ(0, chip.reads) << "what a fill writes does not depend on what is there";
  for (std::size_t cut = 0; cut < transfers.size(); ++cut) {
    for (const int kept : survivors) {
      SCOPED_TRACE(testing::Message() << "cut at transfer " << cut << ", survivors " << kept);
      ++cuts;
      auto dead = state;
      ApplyCut(dead, transfers[cut], kept);
      // Starting over is the same each time; most cuts need only show that it happens.
      if (cut % 97 != 0 && std::string(dead.begin(), dead.begin() + 4) != "SPRK") {
        ++outcomes["empty"];
        continue;
      }
      PutChip(dead);
      machine.files[device_conf] = users_file;
      const int found = Start();
      ++outcomes[found == identification_empty      ? "empty"
                 : found == identification_mismatch ? "taken for another product's"
                                                    : "complete"];
      if (ChainLength() != chain_sections) {
        ++outcomes["whole at the second start only"];
        (void)Start();
      }
      EXPECT_EQ(users, Configuration());
      EXPECT_EQ(complete, chip.Text(identification_size, complete.size()));
      EXPECT_EQ(chain_sections, ChainLength());
      if (HasFailure()) return;
    }
    ApplyCut(state, transfers[cut], 2);
  }
  Print("fill", cuts, outcomes);
  EXPECT_EQ(3 * 6107, cuts);
  EXPECT_LE(outcomes["taken for another product's"], 16);
}

// A message that is cut touches its own fields only; the next start finds everything else.
TEST(PowerCut, InAMessageCostsItsOwnFieldsOnly) {
  const std::vector<std::pair<std::string, std::set<std::string>>> messages = {
      // what may change
      {"General.System.HTTPPort=8080", {"General.System.HTTPPort"}},
      {"General.Network.eth0.IPAddress=198.51.100.222", {"General.Network.eth0.IPAddress"}},
      {"ImageSource.RecordIndex=2", {"ImageSource.RecordIndex"}},
      {"General.Brand.ProdNbr=CAM-2 of a longer name", {}},
      {"remove_stpf=3", {"StreamProfile.I3.Video.FPS"}},
      {"remove_user=1", {"General.UserID.U1.User"}},
      {"remove_record=0",
       {"Event.Scheduled.S0.FileSize", "Event.Scheduled.S0.Enabled",
        "Event.Scheduled.S0.ServerType"}},
      {"remove_server=1",
       {"Event.Server.S1.Location", "Event.Server.S1.Protocol", "Event.Server.S1.Type",
        "Event.Scheduled.S0.ServerType", "Event.Scheduled.S0.Enabled", "ImageSource.RecordIndex",
        "Event.Scheduled.S0.FileSize"}},
      {"add_serverns=2", {}},
  };
  for (const auto& [message, own] : messages) {
    const Values users = FitUsersCamera();
    std::map<std::string, int> outcomes;
    int cuts = 0;
    (void)Start();
    const auto filled = Chip();
    const std::string file = machine.files[device_conf];
    const BusEvents transfers = TransfersOf([&] { Nv_HandleCommand(message); });
    ASSERT_FALSE(transfers.empty());
    for (std::size_t cut = 0; cut < transfers.size(); ++cut) {
      for (const int kept : survivors) {
        SCOPED_TRACE(testing::Message() << message << " at " << cut << ", survivors " << kept);
        ++cuts;
        PutChip(filled);
        machine.files[device_conf] = file;
        NsIndex = 1;
        if (ChainLength() != chain_sections) (void)Start();
        AddressSet allowed(chip.bytes.size());
        MarkMessage(allowed, message);
        chip.writes = 0;
        chip.dies_at_write = static_cast<int>(cut);
        chip.survivors = kept;
        (void)OutputOf([&] { Nv_HandleCommand(message); });
        chip.dies_at_write = -1;
        EXPECT_EQ(-1, FirstStrayByte(allowed, filled));

        const int found = Start();
        ++outcomes[found == identification_mismatch ? "taken for another product's" : "matching"];
        // A header that is rewritten with what it held can still be torn.
        if (ChainLength() != chain_sections) {
          ++outcomes["chain torn"];
          EXPECT_EQ(-1, kept);
          continue;
        }
        Values now = Configuration();
        for (const std::string& path : own) now[path] = users.at(path);
        EXPECT_EQ(users, now);
        if (HasFailure()) return;
      }
    }
    Print(message.c_str(), cuts, outcomes);
  }
}

std::string ReadBack() {
  return OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
}

void PutHeader(std::uint32_t address, std::uint32_t type, std::uint32_t next) {
  for (std::uint32_t i = 0; i < 4; ++i) {
    chip.bytes.at(address + i) = static_cast<std::uint8_t>(type >> (24 - 8 * i));
    chip.bytes.at(address + 5 + i) = static_cast<std::uint8_t>(next >> (24 - 8 * i));
  }
  chip.bytes.at(address + 4) = 1;
}

TEST(Chain, ThatLiesEndsAllTheSame) {
  const Values users = FitUsersCamera();
  (void)Start();
  const auto filled = Chip();

  PutHeader(4829, 8, 4829);  // to itself
  EXPECT_NE(std::string::npos, ReadBack().find("loops at address 0x12dd.\n"));
  EXPECT_EQ(9U, ChainLength());

  PutChip(filled);
  std::fill_n(chip.bytes.begin() + 582, 815, 0xFF);  // a blank section ends what can be found
  (void)ReadBack();
  EXPECT_EQ(6U, ChainLength()) << "behind it only addresses that no chip has";

  PutChip(filled);
  for (const std::uint32_t far : {0x60000U, 0x80000U, 0xFFFFF000U}) {
    PutHeader(582, 3, far + 1397);
    (void)ReadBack();
    EXPECT_LE(ChainLength(), 8U) << far;
  }
  EXPECT_EQ(users, Configuration());
}

TEST(Chain, OfAsManySectionsAsTheChipCanTellIsBounded) {
  (void)FitUsersCamera();
  // A header every 4 bytes: its next address is the type of the one behind the next. The last one
  // of a 64 KiB block goes to the next block.
  std::size_t sections = 0;
  const auto size = static_cast<std::uint32_t>(chip.bytes.size());
  for (std::uint32_t at = 0; at < size; ++sections) {
    const std::uint32_t next = (at & 0xFFFFU) < 0xFFF0 ? at + 4 : (at | 0xFFFFU) + 1;
    for (std::uint32_t i = 0; i < 4; ++i) {
      chip.bytes[at + 5 + i] = static_cast<std::uint8_t>((next % size) >> (24 - 8 * i));
    }
    at = next;
  }
  chip.reads = 0;
  (void)ReadBack();
  (void)std::printf("%zu sections, %ld reads\n", ChainLength(), chip.reads);
  EXPECT_EQ(sections, ChainLength());
  EXPECT_EQ(9 * sections, static_cast<std::size_t>(chip.reads));
  SectionList_Free();
}

TEST(Bus, ThatNobodyAnswersOnIsSurvived) {
  for (const bool from_the_start : {true, false}) {
    (void)FitUsersCamera();
    if (!from_the_start) (void)Start();
    const std::string file = machine.files[device_conf];
    const auto before = Chip();
    chip.absent = true;
    if (from_the_start) {
      EXPECT_EQ(identification_empty, Start());
    }
    for (const char* message :
         {"General.System.HTTPPort=8080", "remove_stpf=0", "remove_server=1", "remove_user=1",
          "remove_record=0", "add_serverns=2", "General.Brand.ProdNbr=X"}) {
      (void)OutputOf([&] { Nv_HandleCommand(message); });
    }
    (void)ReadBack();
    EXPECT_LE(ChainLength(), 257U) << "an absent chip answers with the address";
    EXPECT_EQ(file, machine.files[device_conf]);
    EXPECT_EQ(before, Chip());
    chip.absent = false;
    if (!from_the_start) (void)ReadBack();
  }
}

}  // namespace
