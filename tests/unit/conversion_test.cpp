// SPDX-License-Identifier: MIT
// What each field makes of its parameters' values, and what it gives back: the cases of
// conversions.txt, and what holds for every field.
#include "param/conversion.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/restore.h"
#include "param/base64.h"
#include "param/section_map.h"
#include "sections/section.h"
#include "tests/fakes/emulated_camera.h"

namespace {

using namespace std::string_literals;

using Texts = std::vector<std::string>;

struct Case {
  std::string key;
  Texts values;        // "-": none
  std::string stored;  // "=": the field keeps what it held
  Texts back;          // "-": nothing; empty: whatever
  Texts others;
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

// One text for each slot.
Texts SlotTexts(const std::string& column) {
  Texts texts = Split(column, ';');
  std::ranges::transform(texts, texts.begin(), Plain);
  texts.resize(max_row_paths);
  return texts;
}

// "text=number", "text>number" or "text<number".
Case NumberCase(const std::string& key, const std::string& token) {
  const std::size_t at = token.find_first_of("=<>");
  const Texts text = SlotTexts(token.substr(0, at));
  const std::string number = token.substr(at + 1);
  return {key,
          token[at] == '<' ? SlotTexts("-") : text,
          number.empty() ? "=" : "#" + number,
          token[at] == '>' ? Texts() : text,
          {}};
}

std::vector<Case> LoadCases() {
  std::vector<Case> cases;
  std::ifstream file(CASES_FOLDER "/conversions.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    Texts columns = Split(line, '|');
    if (columns.size() == 2) {
      for (const auto& token : Split(columns[1], ' '))
        cases.push_back(NumberCase(columns[0], token));
      continue;
    }
    columns.resize(5);
    cases.push_back({columns[0], SlotTexts(columns[1]), Plain(columns[2]),
                     SlotTexts(columns[columns[3].empty() ? 1 : 3]), Split(columns[4], ' ')});
  }
  return cases;
}
const std::vector<Case> cases = LoadCases();

// A field with its place in a payload.
struct Row {
  Field field;
  SectionType type;
  std::size_t offset;
  std::string key;
  std::string paths;
};

std::vector<Row> LoadRows() {
  std::vector<Row> rows;
  for (const SectionMap& map : section_maps) {
    for (std::size_t i = 0; i < Map_Rows(map).size(); ++i) {
      const Field& field = map.fields[i];
      const FieldKey& key = field.key;
      rows.push_back({field, map.type, FieldOffset(map.fields, i),
                      std::string(key.text) + (key.number > 0 ? std::to_string(key.number) : ""),
                      Map_Paths(map, field).data()});
    }
  }
  return rows;
}
const std::vector<Row> rows = LoadRows();

const Row& Find(std::string_view key) {
  const auto row = std::ranges::find(rows, key, &Row::key);
  if (row == rows.end()) ADD_FAILURE() << "no field has the key " << key;
  return row == rows.end() ? rows[0] : *row;
}

SectionRecord NewRecord(SectionType type) {
  SectionRecord record;
  record.type = type;
  EXPECT_TRUE(Section_Prepare(record));
  return record;
}

std::span<std::uint8_t> BytesOf(SectionRecord& record, const Row& row) {
  return Section_Field(record, row.offset, row.field.format.size);
}

// The bytes of a field as the table shows them.
std::vector<std::uint8_t> Bytes(const Row& row, const std::string& shown) {
  std::vector<std::uint8_t> bytes(row.field.format.size);
  if (shown.starts_with('#')) {
    Field_SetNumber(bytes, static_cast<std::uint32_t>(std::stol(shown.substr(1))));
  } else {
    std::ranges::copy(shown, bytes.begin());
  }
  return bytes;
}

void Store(SectionRecord& record, const Row& row, const Texts& texts) {
  ValueSlots slots{};
  for (std::size_t i = 0; i < max_row_paths; ++i) Slot_SetText(slots[i], texts[i]);
  const ValueSlots given = slots;
  EXPECT_EQ(0, Param_ConfigToSection(slots, row.field.key, record, row.offset, row.field.format));
  EXPECT_EQ(given, slots);
}

Texts Restore(SectionRecord& record, const Row& row) {
  ValueSlots slots{};
  EXPECT_EQ(0, Param_SectionToConfig(record, slots, row.field.key, row.offset, row.field.format));
  Texts texts;
  for (const ValueSlot& slot : slots) {
    EXPECT_EQ('\0', slot.back());
    texts.emplace_back(slot.data());
  }
  return texts;
}

TEST(Conversion, FollowsItsFieldsRule) {
  EXPECT_EQ(138U, cases.size());
  for (const Case& each : cases) {
    SCOPED_TRACE(each.key + " | " + each.values[0] + " | " + each.stored);
    const Row& row = Find(each.key);
    SectionRecord record = NewRecord(row.type);
    const auto field = BytesOf(record, row);
    std::ranges::fill(field, std::uint8_t{0x55});
    const auto stored =
        each.stored == "=" ? std::vector(field.begin(), field.end()) : Bytes(row, each.stored);
    if (each.values[0] != "-") {
      Store(record, row, each.values);
      EXPECT_EQ(stored, std::vector(field.begin(), field.end()));
    }
    if (each.stored == "=" || each.back.empty()) continue;
    std::ranges::copy(stored, field.begin());
    for (const std::string& other : each.others) {
      const Row& neighbour = Find(other.substr(0, other.find('=')));
      const auto bytes = Bytes(neighbour, Plain(other.substr(other.find('=') + 1)));
      std::ranges::copy(bytes, BytesOf(record, neighbour).begin());
    }
    EXPECT_EQ(each.back[0] == "-" ? Texts(max_row_paths) : each.back, Restore(record, row));
  }
}

TEST(Conversion, NeedsAKnownTypeAndTheWholeField) {
  const Row& port = Find("ssnt_http_port");
  SectionRecord record = NewRecord(port.type);
  record.data.resize(port.offset + 1);
  EXPECT_EQ(Texts(max_row_paths), Restore(record, port));
  record.type = SectionType::none;
  ValueSlots slots{};
  EXPECT_EQ("No support section type 0\n", OutputOf([&] {
              EXPECT_EQ(-1, Param_ConfigToSection(slots, "ssdt_format", record, 0, byte_field));
            }));
}

// All parameters of the table are emptied; what was stored brings the whole file back.
TEST(Conversion, SurvivesAModuleSwap) {
  FitFactoryCamera();
  for (const char* mode : {"WideDynamicRange.ModeSpk", "DeNoise.Mode"}) {  // a level counts
    SetParameter("ImageSource.I0.Sensor." + std::string(mode), "on");
  }
  SetParameter("ImageSource.I0.Iris.Type", "manual");
  SetParameter("StreamProfile.I1.Video.Codec", "H264");
  for (int i = 0; i < 2; ++i) {
    (void)OutputOf(
        [] { (void)StartDaemon(); });  // twice: not every conversion is the other way's inverse
  }
  const std::string settled = camera.files[device_conf];
  const ConfigFile config = Nv_OpenConfig();
  for (const Row& row : rows) {
    for (const std::string& path : Split(row.paths, ',')) {
      cfg_node* node = cfg_find_param_node(config.root, Nv_FormatPath(path, NsIndex).data());
      ASSERT_NE(nullptr, node) << "give " << path << " a value in camera/device.conf, or mend the "
                               << "path of " << row.key;
      if (path.find("LensControl") == std::string::npos) (void)cfg_set_param_value(node, "");
    }
  }
  EXPECT_EQ(0, cfg_save_file(config.handle.get(), device_conf));
  EXPECT_NE(settled, camera.files[device_conf]);
  (void)OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
  EXPECT_EQ(settled, camera.files[device_conf]);
}

// What stands between backquotes in a column of the page.
Texts Quoted(const std::string& column) {
  Texts texts = Split(column, '`');
  for (std::size_t i = 0; i < texts.size(); ++i) texts.erase(texts.begin() + static_cast<long>(i));
  return texts;
}

// "| parameter | what is kept | `PATH=VALUE` ... | `VALUE` or nothing |"; what comes back is the
// first path's.
TEST(Conversion, GivesBackWhatThePageSays) {
  std::ifstream page(DOCS_FOLDER "/values.md");
  int examples = 0;
  for (std::string line; std::getline(page, line);) {
    const Texts columns = Split(line, '|');
    if (columns.size() != 5 || !columns[3].starts_with('`')) continue;
    const Texts settings = Quoted(columns[3]);
    const Texts back = Quoted(columns[4]);
    const std::string path = settings[0].substr(0, settings[0].find('='));
    FitFactoryCamera();
    for (const std::string& setting : settings) {
      const std::size_t equals = setting.find('=');
      SetParameter(setting.substr(0, equals), setting.substr(equals + 1));
    }
    (void)OutputOf([] { EXPECT_EQ(0, Nv_InitEEprom()); });
    const std::string set = Parameter(path);
    const auto restored = [&path] {
      (void)OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
      return Parameter(path);
    };
    EXPECT_EQ(back.empty() ? set : back[0], restored()) << "after a restart: " << line;
    camera.files[device_conf] = camera.factory_file;
    const std::string factory = Parameter(path);
    EXPECT_EQ(back.empty() ? factory : back[0], restored()) << "in a new module: " << line;
    EXPECT_NE(set, Parameter(path)) << "nothing to see: " << line;
    ++examples;
  }
  EXPECT_EQ(57, examples);
}

TEST(Account, IsCutToItsBuffer) {
  std::array<char, 4> text = {'#', '#', '#', '#'};
  EXPECT_EQ(3U, Param_Base64Decode(std::span(text).first(3), "YWRtaW4="));
  EXPECT_EQ("adm#", std::string(text.data(), 4));
  EXPECT_EQ(
      2U, Param_Base64Encode(std::array<std::uint8_t, 3>{'a', 'd', 'm'}, std::span(text).first(3)));
  EXPECT_EQ("YW\0#"s, std::string(text.data(), 4));
}

}  // namespace
