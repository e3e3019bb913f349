// SPDX-License-Identifier: MIT
// What each field makes of its parameters' values, and what it gives back: the cases of
// conversions.txt, and what holds for every field.
#include "param/conversion.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <random>
#include <set>
#include <sstream>

#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/restore.h"
#include "param/base64.h"
#include "param/section_map.h"
#include "param/time_zones.h"
#include "sections/section.h"
#include "tests/fakes/emulated_camera.h"

namespace {

using Texts = std::vector<std::string>;

struct Case {
  std::string key;
  Texts values;        // "-": none
  std::string stored;  // "=": unchanged
  Texts back;          // "-": nothing
  std::vector<std::pair<std::string, std::string>> others;
};

// "x*31", "\n" and quotes stand for what can't be written or seen.
std::string Plain(std::string text) {
  if (text.starts_with('"')) return text.substr(1, text.size() - 2);
  if (text.size() > 2 && text[1] == '*') return std::string(std::stoul(text.substr(2)), text[0]);
  if (const std::size_t feed = text.find("\\n"); feed < text.size()) text.replace(feed, 2, "\n");
  return text;
}

// The parts between the separators, without the blanks around them.
Texts Split(const std::string& text, char separator) {
  Texts parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) {
    const std::size_t start = std::min(part.find_first_not_of(' '), part.size());
    parts.push_back(part.substr(start, part.find_last_not_of(' ') + 1 - start));
  }
  return parts;
}

Texts PlainParts(const std::string& text) {
  Texts parts = Split(text, ';');
  std::ranges::transform(parts, parts.begin(), Plain);
  return parts;
}

std::pair<std::string, std::string> Assignment(std::string_view text) {
  const std::size_t equals = text.find('=');
  return {std::string(text.substr(0, equals)), Plain(std::string(text.substr(equals + 1)))};
}

std::vector<Case> LoadCases() {
  std::vector<Case> cases;
  std::ifstream file(CASES_FOLDER "/conversions.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    const Texts columns = Split(line, '|');
    if (columns.size() == 2) {
      for (const std::string& row : Split(columns[1], ' ')) {
        const auto [text, number] = Assignment(row);
        cases.push_back({columns[0], {text}, "#" + number, {text}, {}});
      }
      continue;
    }
    Case each = {columns[0], PlainParts(columns[1]), Plain(columns[2]), {}, {}};
    each.back = columns.size() > 3 ? PlainParts(columns[3]) : each.values;
    if (columns.size() > 4) {
      for (const std::string& other : Split(columns[4], ' '))
        each.others.push_back(Assignment(other));
    }
    cases.push_back(each);
  }
  return cases;
}
const std::vector<Case> cases = LoadCases();

struct Place {
  const SectionMap* map = nullptr;
  std::size_t row = 0;
};

const Field& FieldAt(const Place& place) { return place.map->fields[place.row]; }
std::size_t Offset(const Place& place) { return FieldOffset(place.map->fields, place.row); }

std::vector<Place> AllRows() {
  std::vector<Place> places;
  for (const SectionMap& map : section_maps) {
    for (std::size_t row = 0; row < Map_Rows(map).size(); ++row) places.push_back({&map, row});
  }
  return places;
}

Place Find(std::string_view key) {
  for (const Place& place : AllRows()) {
    if (FieldAt(place).key == key) return place;
  }
  ADD_FAILURE() << "no field has the key " << key;
  return {&section_maps[1], 0};
}

SectionRecord NewRecord(const Place& place) {
  SectionRecord record;
  record.type = place.map->type;
  EXPECT_TRUE(Section_Prepare(record));
  return record;
}

std::span<std::uint8_t> BytesOf(SectionRecord& record, const Place& place) {
  return Section_Field(record, Offset(place), FieldAt(place).format.size);
}

// Puts what the table shows as stored into a field.
void Put(std::span<std::uint8_t> field, std::string_view shown) {
  std::ranges::fill(field, std::uint8_t{0});
  if (shown.starts_with('#')) {
    Field_SetNumber(field, static_cast<std::uint32_t>(std::stol(std::string(shown.substr(1)))));
  } else {
    std::ranges::copy(shown, field.begin());
  }
}

ValueSlots Slots(const Texts& texts) {
  ValueSlots slots{};
  for (std::size_t i = 0; i < texts.size() && texts[0] != "-"; ++i) {
    Slot_SetText(slots[i], texts[i]);
  }
  return slots;
}

void Store(SectionRecord& record, const Place& place, ValueSlots slots) {
  const ValueSlots given = slots;
  EXPECT_EQ(0, Param_ConfigToSection(slots, FieldAt(place).key, record, Offset(place),
                                     FieldAt(place).format));
  EXPECT_EQ(given, slots);
}

Texts Restore(SectionRecord& record, const Place& place) {
  ValueSlots slots{};
  EXPECT_EQ(0, Param_SectionToConfig(record, slots, FieldAt(place).key, Offset(place),
                                     FieldAt(place).format));
  Texts texts;
  for (const ValueSlot& slot : slots) {
    EXPECT_EQ('\0', slot.back());
    texts.emplace_back(slot.data());
  }
  return texts;
}

Texts Padded(Texts texts) {
  if (texts[0] == "-") texts[0].clear();
  texts.resize(max_row_paths);
  return texts;
}

TEST(Conversion, FollowsItsFieldsRule) {
  for (const Case& each : cases) {
    SCOPED_TRACE(each.key + " | " + each.values[0] + " | " + each.stored);
    const Place place = Find(each.key);
    SectionRecord record = NewRecord(place);
    const auto field = BytesOf(record, place);
    std::vector<std::uint8_t> expected(field.size(), 0x55);
    std::ranges::copy(expected, field.begin());
    if (each.stored != "=") Put(expected, each.stored);
    if (each.values[0] != "-") {
      Store(record, place, Slots(each.values));
      EXPECT_EQ(expected, std::vector(field.begin(), field.end()));
    }
    std::ranges::copy(expected, field.begin());
    for (const auto& [key, stored] : each.others) Put(BytesOf(record, Find(key)), stored);
    if (each.stored != "=") {
      EXPECT_EQ(Padded(each.back), Restore(record, place));
    }
  }
}

std::string RandomText(FieldKind kind, std::mt19937& random) {
  const auto number = static_cast<std::uint32_t>(random());
  if (kind == MAP_TEXT) return std::string(number % 127, static_cast<char>('a' + number % 26));
  if (kind == MAP_U16) return std::to_string(number & 0xFFFFU);
  if (kind == MAP_S16) return std::to_string(static_cast<std::int16_t>(number));
  return std::to_string(static_cast<std::int32_t>(number));
}

// A text or number for every field that no case is about: what fits comes back.
TEST(Conversion, KeepsWhatHasNoRule) {
  std::mt19937 random(1);
  std::set<std::string_view> ruled;
  for (const Case& each : cases) ruled.insert(each.key);
  for (const Place& place : AllRows()) {
    const auto& [key, format, paths] = FieldAt(place);
    if (paths.empty() || place.map->type == SectionType::sssc || ruled.contains(key)) continue;
    for (int i = 0; i < 20; ++i) {
      const std::string text = RandomText(format.kind, random);
      const std::string fitting = format.kind == MAP_TEXT ? text.substr(0, format.size - 1U) : text;
      std::vector<std::uint8_t> expected(format.size);
      Put(expected, format.kind == MAP_TEXT ? fitting : "#" + text);
      SectionRecord record = NewRecord(place);
      Store(record, place, Slots({text}));
      const auto field = BytesOf(record, place);
      EXPECT_EQ(expected, std::vector(field.begin(), field.end())) << key;
      EXPECT_EQ(Padded({fitting}), Restore(record, place)) << key;
    }
  }
}

// Any values and any stored bytes, for every row, also of a payload that is another section's.
TEST(Conversion, TouchesNothingButItsField) {
  std::mt19937 random(2);
  for (const Place& place : AllRows()) {
    const auto& [key, format, paths] = FieldAt(place);
    // The constant bit rate is stored in two fields, whichever of them is written; an unknown
    // input source becomes the microphone in the section as well.
    const bool writes_two = key.starts_with("stpf_pf_CBR_");
    const bool mends = key == "lvad_insource";
    for (int i = 0; i < 60; ++i) {
      SectionRecord record = NewRecord(place);
      if (i % 4 == 0) record.type = section_maps[1 + random() % 13].type;
      if (i % 5 == 0) record.data.resize(random() % 2000);
      for (std::uint8_t& byte : record.data) byte = static_cast<std::uint8_t>(random());
      const std::vector<std::uint8_t> before = record.data;
      Store(record, place, Slots(cases[random() % cases.size()].values));
      auto expected = before;
      const auto field = BytesOf(record, place);
      if (!field.empty()) std::ranges::copy(field, &expected[Offset(place)]);
      EXPECT_TRUE(writes_two || record.data == expected) << key;
      expected = record.data;
      (void)Restore(record, place);
      EXPECT_TRUE(mends || record.data == expected) << key;
    }
  }
  SectionRecord record;
  record.type = SectionType{11};
  EXPECT_EQ("No support section type 11\n", OutputOf([&] {
              ValueSlots slots{};
              EXPECT_EQ(-1, Param_ConfigToSection(slots, "ssdt_format", record, 0, byte_field));
            }));
}

Texts PathsOf(const Place& place) {
  Texts paths;
  const RowPaths split = Map_SplitPaths(FieldAt(place).paths);
  for (std::size_t i = 0; i < split.count; ++i) {
    paths.emplace_back(Nv_FormatPath(split.path[i], NsIndex).data());
  }
  return paths;
}

void SetParameters(const Parameters& parameters) {
  const ConfigFile config = Nv_OpenConfig();
  for (const auto& [path, value] : parameters) {
    EXPECT_EQ(0, cfg_set_param_value(cfg_add_param_node(config.root, path.c_str()), value.c_str()));
  }
  EXPECT_EQ(0, cfg_save_file(config.handle.get(), device_conf));
}

// What a restore puts into the configuration: the last text of a path that is not empty.
void PutStoredValues(Parameters& parameters) {
  SectionRecord record;
  for (const SectionMap& map : section_maps) {
    if (map.row_count < 0) return;
    record.address = std::exchange(record.next_address, 0);
    EXPECT_EQ(0, EEprom_ReadSection(eeprom_handle, record));
    for (std::size_t row = 0; row < Map_Rows(map).size(); ++row) {
      const Texts texts = Restore(record, {&map, row});
      const Texts paths = PathsOf({&map, row});
      for (std::size_t i = paths.size(); i-- > 0;) {
        if (!texts[i].empty()) parameters[paths[i]] = texts[i];
      }
    }
  }
}

TEST(Conversion, ComesBackAfterAModuleSwap) {
  std::mt19937 random(3);
  for (int round = 0; round < 10; ++round) {
    FitCamera();
    Parameters values;
    Parameters others;
    for (const Place& place : AllRows()) {
      for (const std::string& path : PathsOf(place)) values[path] = others[path] = "new module's";
    }
    for (std::size_t i = 0; i < 2 * cases.size(); ++i) {
      const Case& each = cases[random() % cases.size()];
      const Texts paths = PathsOf(Find(each.key));
      for (std::size_t j = 0; j < paths.size() && each.values[0] != "-"; ++j)
        values[paths[j]] = each.values[j];
    }
    SetParameters(values);
    (void)OutputOf([] { EXPECT_EQ(0, Nv_InitEEprom()); });
    SetParameters(others);
    PutStoredValues(others);
    for (const char* lens : {"FocusPos", "ZoomPos"}) {  // the lens driver's
      others["ImageSource.I0.LensControl." + std::string(lens)] = "new module's";
    }
    (void)OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
    for (const auto& [path, value] : others) EXPECT_EQ(value, Parameter(path)) << path;
  }
}

TEST(Account, ComesBackUnlessItHoldsASlash) {
  std::mt19937 random(4);
  for (std::size_t size = 0; size < 100; ++size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    std::vector<char> text(1 + random() % 150);  // a byte too far is the sanitizer's
    const std::size_t length = Param_Base64Encode(bytes, text);
    ASSERT_EQ(length, std::strlen(text.data()));
    std::vector<char> decoded(random() % 100);
    const std::size_t count = Param_Base64Decode(decoded, text.data());
    if (length + 1 == text.size() || std::strchr(text.data(), '/') != nullptr) continue;
    EXPECT_EQ(std::min(size + 1, decoded.size()), count);
    EXPECT_TRUE(std::equal(
        decoded.begin(), decoded.begin() + static_cast<long>(std::min(size, count)), bytes.begin(),
        [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; }));
  }
}

TEST(Account, IsDecodedLeniently) {
  const std::vector<std::pair<const char*, std::string>> texts = {
      {"YWRt\naW4=", "admin"}, {"Y/WR,taW4", "admin"}, {"+-8", "\xFB\xFF"}, {"", ""}};
  for (const auto& [text, account] : texts) {
    std::array<char, 16> decoded;
    EXPECT_EQ(account.size() + 1, Param_Base64Decode(decoded, text));
    EXPECT_EQ(account, decoded.data());
  }
}

TEST(TimeZone, ComesBackAsTheUserInterfaceShowsIt) {
  std::ifstream file(GOLDEN_FOLDER "/time_zones.txt");
  int zones = 0;
  for (std::string zone; std::getline(file, zone); ++zones) {
    EXPECT_EQ(zone, TimeZone_DisplayText(TimeZone_Name(zone)));
  }
  EXPECT_EQ(73, zones);
}

}  // namespace
