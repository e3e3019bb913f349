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

// The columns of each case; "?" for values back: whatever.
std::vector<Texts> LoadCases() {
  std::vector<Texts> cases;
  std::ifstream file(CASES_FOLDER "/conversions.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    const Texts columns = Split(line, '|');
    if (columns.size() > 2) cases.push_back(columns);
    for (const auto& token : Split(columns.size() == 2 ? columns[1] : "", ' ')) {
      const std::size_t at = token.find_first_of("=<>");
      const std::string text = token.substr(0, at), number = token.substr(at + 1);
      cases.push_back({columns[0], token[at] == '<' ? "-" : text,
                       number.empty() ? "=" : "#" + number, token[at] == '>' ? "?" : text});
    }
  }
  for (Texts& columns : cases) columns.resize(5);
  return cases;
}

// A field with its place in a payload.
struct Row {
  Field field;
  SectionType type;
  std::size_t offset;
};

Row Find(std::string_view key) {
  for (const SectionMap& map : section_maps) {
    for (std::size_t i = 0; i < Map_Rows(map).size(); ++i) {
      const auto& [text, number] = map.fields[i].key;
      const std::string full = std::string(text) + (number > 0 ? std::to_string(number) : "");
      if (full == key) return {map.fields[i], map.type, FieldOffset(map.fields, i)};
    }
  }
  ADD_FAILURE() << "no field has the key " << key;
  return {};
}

SectionRecord NewRecord(SectionType type) {
  SectionRecord record;
  record.type = type;
  EXPECT_TRUE(Section_Prepare(record));
  return record;
}

// The bytes of a field.
std::vector<std::uint8_t> Held(SectionRecord& record, const Row& row) {
  const auto field = Section_Field(record, row.offset, row.field.format.size);
  return {field.begin(), field.end()};
}

// Sets them to what the table shows; "=": something that nobody stores.
void Hold(SectionRecord& record, const Row& row, const std::string& shown) {
  const auto field = Section_Field(record, row.offset, row.field.format.size);
  std::ranges::fill(field, std::uint8_t(shown == "=" ? 0x55 : 0));
  if (shown.starts_with('#')) {
    Field_SetNumber(field, static_cast<std::uint32_t>(std::stol(shown.substr(1))));
  } else if (shown != "=") {
    std::ranges::copy(shown, field.begin());
  }
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
  const std::vector<Texts> cases = LoadCases();
  EXPECT_EQ(110U, cases.size());
  for (const Texts& columns : cases) {
    SCOPED_TRACE(columns[0] + " | " + columns[1] + " | " + columns[2]);
    const Row row = Find(columns[0]);
    SectionRecord stored = NewRecord(row.type), record = stored;
    Hold(record, row, "=");
    Hold(stored, row, Plain(columns[2]));
    if (columns[1] != "-") {
      Store(record, row, SlotTexts(columns[1]));
      EXPECT_EQ(Held(stored, row), Held(record, row));
    }
    if (columns[2] == "=" || columns[3] == "?") continue;
    for (const std::string& other : Split(columns[4], ' ')) {
      const std::size_t equals = other.find('=');
      Hold(stored, Find(other.substr(0, equals)), Plain(other.substr(equals + 1)));
    }
    const Texts back = SlotTexts(columns[columns[3].empty() ? 1 : 3]);
    EXPECT_EQ(back[0] == "-" ? Texts(max_row_paths) : back, Restore(stored, row));
  }
}

TEST(Conversion, NeedsAKnownTypeAndTheWholeField) {
  const Row port = Find("ssnt_http_port");
  SectionRecord record = NewRecord(port.type);
  record.data.resize(port.offset + 1);
  EXPECT_EQ(Texts(max_row_paths), Restore(record, port));
  record.type = SectionType::none;
  ValueSlots slots{};
  EXPECT_EQ("No support section type 0\n", OutputOf([&] {
              EXPECT_EQ(-1, Param_ConfigToSection(slots, "ssdt_format", record, 0, byte_field));
            }));
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
    for (const char* where : {"after a restart: ", "in a new module: "}) {
      if (*where == 'i') camera.files[device_conf] = camera.factory_file;
      const std::string expected = back.empty() ? Parameter(path) : back[0];
      (void)OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
      EXPECT_EQ(expected, Parameter(path)) << where << line;
    }
    EXPECT_NE(set, Parameter(path)) << "nothing to see: " << line;
    ++examples;
  }
  EXPECT_EQ(57, examples);
}

TEST(Account, IsCutToItsBuffer) {
  std::string text(4, '#');
  const std::span buffer = std::span(text).first(3);
  EXPECT_EQ(3U, Param_Base64Decode(buffer, "YWRtaW4="));
  EXPECT_EQ("adm#", text);
  EXPECT_EQ(2U, Param_Base64Encode(std::array<std::uint8_t, 3>{'a', 'd', 'm'}, buffer));
  EXPECT_EQ("YW\0#"s, text);
}

}  // namespace
