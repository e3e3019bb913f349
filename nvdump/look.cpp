// SPDX-License-Identifier: MIT
// What an image holds, as rows, and the commands that print them: info, list, get, map, diff.
#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <set>

#include "config/store.h"
#include "nvdump/nvdump.h"
#include "param/conversion.h"
#include "platform/file.h"
#include "platform/utf8.h"

namespace {

bool IsControl(std::string_view character) {
  return character < " " || (character >= "\x7F" && character < "\xC2\xA0");
}

std::string Hex(std::span<const std::uint8_t> bytes) {
  std::string digits;
  constexpr auto digit = "0123456789abcdef";
  for (const unsigned byte : bytes) digits += {digit[byte / 16], digit[byte % 16]};
  return digits;
}

// With blanks, and a run of at least four equal bytes with its length: "0a 00*4".
std::string HexRuns(std::string_view hex) {
  constexpr std::size_t shortest_run = 4;
  std::string text;
  for (std::size_t run = 1; !hex.empty(); hex.remove_prefix(2 * run)) {
    const std::string_view byte = hex.substr(0, 2);
    for (run = 1; hex.substr(2 * run, 2) == byte;) ++run;
    if (run < shortest_run) run = 1;
    text += (text.empty() ? "" : " ") + std::string(byte);
    if (run > 1) text += Format("*%zu", run);
  }
  return text;
}

// "2 (dmy)", and what the pair is there for unless it goes both ways.
std::string EnumText(const EnumRow& row) {
  constexpr std::array uses = {"", " stored", " restored", " for other texts", ""};
  const std::string second = row.second ? "," + std::string(*row.second) : "";
  const std::string text = " (" + std::string(row.text) + second + ")";
  return (row.use == RowUse::unknown_number ? "any" : Format("%d", row.number)) +
         (row.use == RowUse::unknown_text ? "" : text) + uses.at(static_cast<std::size_t>(row.use));
}

std::span<const EnumRow> EnumRows(const Range& range) {
  const FieldRule* rule = Param_FindRule(range.section->type, range.field->key);
  return rule == nullptr ? std::span<const EnumRow>() : rule->values;
}

std::string HeaderMeaning(const Range& range) {
  // clang-format off
  constexpr std::array contents = {
      "identification", "date and time", "users", "network", "image", "lens", "audio",
      "day/night and infrared", "stream profile I0", "stream profile I1", "stream profile I2",
      "stream profile I3", "recording to the memory card", "recording to network storage"};
  // clang-format on
  static_assert(contents.size() == chain_sections, "a word for each section");
  const auto& [type, version, address, data, next_address] = *range.section;
  return Format("%s: type 0x%x, version %u, next %04x", contents.at(range.position),
                static_cast<unsigned>(type), version, next_address);
}

// What people call the section at a position of the chain: its keys' prefix and the profile's digit
// ("ssnt", "stpf0").
std::string Section_Name(std::size_t position) {
  const SectionMap& map = Map_At(position);
  const std::string_view key = map.fields[0].key.text;
  return std::string(key.substr(0, key.find('_'))) +
         (map.digit == '\0' ? "" : std::string(1, map.digit));
}

// Empty when the table has no row for the field.
std::string Field_Key(const Range& range) {
  const auto& [text, number] = range.field->key;
  const SectionMap& map = Map_At(range.position);
  const bool has_row = range.field < map.fields.data() + Map_Rows(map).size();
  if (range.position > 0 && !has_row) return {};
  return std::string(text) + (number > 0 ? std::to_string(number) : "");
}

// The paths of a field's parameters in the section at a position of the chain.
std::vector<std::string> Field_Paths(std::size_t position, const Field& field) {
  const PathText text = Map_Paths(Map_At(position), field);
  const RowPaths paths = Map_SplitPaths(text.data());
  return {paths.path.begin(), paths.path.begin() + paths.count};
}

// What a field holds: a quoted text, a number, an enumeration's number and text.
std::string Field_Meaning(const Range& range) {
  const auto bytes = Field_Bytes(range);
  const FieldKind kind = range.field->format.kind;
  if (kind == MAP_TEXT) return "\"" + Escaped(Field_Text(bytes)) + "\"";
  const bool is_time = range.section->type == SectionType::identification;
  if (kind == MAP_U16 || is_time) return Format("%u", Field_Number(bytes));
  const std::int32_t number = Field_Signed(bytes);
  for (const EnumRow& row : EnumRows(range)) {
    if (row.number == number && row.use < RowUse::unknown_text) {
      return EnumText({.number = number, .text = row.text, .second = row.second});
    }
  }
  return Format("%d", number);
}

// What people see as the text's width.
std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

std::string Time_Text(std::time_t time) {
  std::tm parts{};
  std::array<char, 32> text{};
  (void)gmtime_r(&time, &parts);
  (void)std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts);
  return text.data();
}

// Whether a path of the table, with any number for its "%d", is the wanted one or fits the pattern.
bool IsWanted(const std::string& table_path, const std::string& wanted, bool is_pattern) {
  const int instances = table_path.find("%d") == table_path.npos ? 0 : 100;  // that are tried
  for (int index = -1; index < instances; ++index) {
    const std::string path = index < 0 ? table_path : Nv_FormatPath(table_path, index).data();
    if (is_pattern ? fnmatch(wanted.c_str(), path.c_str(), 0) == 0 : path == wanted) return true;
  }
  return false;
}

// Whether a section's name is the wanted one, or one of the numbered ones that share it ("stpf");
// every name is for an empty one.
bool IsSection(const std::string& name, std::string_view wanted) {
  return wanted.empty() || (name.starts_with(wanted) &&
                            name.find_first_not_of("0123456789", wanted.size()) == name.npos);
}

void CheckSection(const std::string& section) {
  for (std::size_t position = 0; position < chain_sections; ++position) {
    if (IsSection(Section_Name(position), section)) return;
  }
  throw Failure("--section " + section + ": no such section; see nvdump --help");
}

std::string RowsPrinted(const Options& options, const Image& image, const char* name,
                        const Json& rows, Columns (*columns)(const Json& row)) {
  Json answer = Answer(options, image);
  answer[name] = Shown(rows);
  std::vector<Columns> lines;
  for (const Json& row : answer[name]) lines.push_back(columns(row));
  return Printed(options, answer, lines);
}

Columns Value(const Json& row) { return {Cell(row, "value")}; }
Columns Pair(const Json& row) { return {Cell(row, "path") + "=" + Cell(row, "value")}; }

Columns LongPair(const Json& row) {
  const auto list = [&row](const char* name) {
    std::string cells;
    for (const Json& field : row["fields"]) cells += (cells.empty() ? "" : ",") + Cell(field, name);
    return cells;
  };
  return {Cell(row, "section"), list("key"), list("address"), Pair(row)[0], list("bytes")};
}

// "0242  sssc_group_2             02 = 2 <- General.UserID.U0.User"
Columns RangeLine(const Json& row) {
  const std::string kind = row["kind"];
  std::string name = row.contains("key") ? Cell(row, "key") : "(no row)";
  if (kind == "header") name = "[" + Cell(row, "section") + "]";
  if (kind == "gap") name = "(gap)";
  if (kind == "rest") name = "(behind the chain)";
  const std::string bytes = row.contains("bytes") ? Cell(row, "bytes") + " = " : "";
  const std::string paths = row.contains("paths") ? " <- " + Cell(row, "paths") : "";
  return {(kind == "header" ? "\n" : "") +
          Format("%s  %-24s ", Cell(row, "address").c_str(), name.c_str()) + bytes +
          Cell(row, "meaning") + paths};
}

// Every byte once, ascending, by "section key".
Json Range_Rows(const Image& image) {
  std::vector<Range> ranges = image.ranges;
  std::ranges::stable_sort(ranges, {}, &Range::address);
  Json rows = Json::object();
  for (const Range& range : ranges) {
    const Json row = Range_Row(image, range);
    const char* const name = row.contains("key") ? "key" : "kind";
    const char* const place = row.contains("section") ? "section" : "address";
    rows[Cell(row, place) + " " + Cell(row, name)] = row;
  }
  return rows;
}

// The rows of one image beside those of the other about the same; not what lies between the fields,
// not the one field that always differs, and no field of a parameter that has told it already.
Json Differences(const Json& a, const Json& b, const char* cell, std::set<std::string>& told) {
  Json all = a, differences = Json::array();
  all.update(b);
  for (const auto& [subject, row] : all.items()) {
    const Json before = a.value(subject, Json::object()), after = b.value(subject, Json::object());
    const Json old = before.value(cell, Json()), now = after.value(cell, Json());
    const std::vector<std::string> paths = row.value("paths", std::vector<std::string>());
    const bool is_told = std::ranges::any_of(paths, [&](auto& it) { return told.contains(it); });
    if (is_told || old == now || !row.contains("section") || subject == "id time") continue;
    told.insert(subject);
    const std::string address = Cell(before.empty() ? after : before, "address") + ": ";
    differences.push_back(
        {{"where", (row.contains("path") ? "" : address) + subject},
         {"old", old},
         {"new", now},
         {"secret", before.value("secret", false) || after.value("secret", false)}});
  }
  return differences;
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string escaped;
  while (!text.empty()) {
    const std::size_t size = Utf8_CharacterSize(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(size, 1));
    text.remove_prefix(character.size());
    if (character.size() == size && !IsControl(character)) {
      escaped += character;
    } else {
      for (const char c : character) escaped += Format("\\x%02x", static_cast<unsigned char>(c));
    }
  }
  return escaped;
}

std::string Format(const char* format, ...) {
  std::array<char, 1024> text;
  std::va_list arguments;
  va_start(arguments, format);
  (void)std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  return text.data();
}

std::size_t Number(const std::string& text, std::size_t most) {
  char* end = nullptr;
  const bool begins = std::isdigit(static_cast<unsigned char>(text[0])) != 0;
  const auto number = std::strtoull(text.c_str(), &end, text.starts_with("0x") ? 16 : 10);
  if (begins && *end == '\0' && number <= most) return static_cast<std::size_t>(number);
  throw Failure(text + " is no number, or too large; see nvdump --help");
}

// There is nobody to tell when that fails.
void Say(std::string_view text) {
  (void)std::fprintf(stderr, "nvdump: %s\n", Escaped(text).c_str());
}

std::map<std::string, bool> Table_Paths() {
  std::map<std::string, bool> all;
  for (std::size_t position = 0; position < chain_sections; ++position) {
    for (const Field& field : Map_At(position).fields) {
      for (const std::string& path : Field_Paths(position, field)) {
        all[path] = all[path] || field.format.is_secret;
      }
    }
  }
  return all;
}

Json Range_Row(const Image& image, const Range& range) {
  const auto& [address, size, position, section, field, offset] = range;
  Json row = {{"address", address}, {"size", size}, {"kind", "field"}};
  if (section != nullptr) row["section"] = Section_Name(position);
  if (section == nullptr) {
    row["kind"] = address + size == image.bytes.size() ? "rest" : "gap";
    row["meaning"] = Format("%zu bytes", size);
  } else if (field == nullptr) {
    row["kind"] = "header";
    row["meaning"] = HeaderMeaning(range);
  } else {
    if (const std::string key = Field_Key(range); !key.empty()) row["key"] = key;
    row["meaning"] = Field_Meaning(range);
    const auto paths = Field_Paths(position, *field);
    if (!paths.empty()) row["paths"] = paths;
    for (const EnumRow& each : EnumRows(range)) row["texts"].push_back(EnumText(each));
  }
  row["bytes"] = Hex(std::span(image.bytes).subspan(address, size));
  row["secret"] = std::ranges::count(std::span(image.secret).subspan(address, size), 1) > 0;
  return row;
}

// A later row overwrites what an earlier one has put, unless it has nothing to put.
Json Parameter_Rows(const Image& image) {
  Json rows = Json::object_t();
  rows.get_ref<Json::object_t&>().reserve(image.ranges.size());
  for (const Range& range : image.ranges) {
    if (range.field == nullptr) continue;
    const Json range_row = Range_Row(image, range);
    const ValueSlots slots = Field_Values(range);
    Json cells;
    for (const char* cell : {"section", "key", "address", "bytes", "paths", "secret"}) {
      cells[cell] = range_row.value(cell, Json());
    }
    std::size_t slot = 0;
    for (const std::string path : cells["paths"]) {
      const std::string value(Slot_Text(slots.at(slot++)));
      Json& row = rows[path];
      const bool is_new = row.is_null();
      if (is_new) row = {{"path", path}, {"value", nullptr}};
      const bool is_secret = row.value("secret", false) || cells["secret"];
      if (!value.empty()) row["value"] = value;
      if (is_new || !value.empty()) row.update(cells);
      row["secret"] = is_secret;
      row.erase("paths");
      row["fields"].push_back(cells);
    }
  }
  return rows;
}

bool SayWhatIsMissing(const Image& image) {
  if (image.state == ImageState::blank || image.state == ImageState::test_board) return false;
  std::string sections;
  for (std::size_t i = 0; i < chain_sections; ++i) {
    const bool is_there = i < image.sections.size() && !image.sections[i].data.empty();
    if (!is_there) sections += " " + Section_Name(i);
  }
  auto missing = Table_Paths();
  for (const auto& [address, size, position, section, field, offset] : image.ranges) {
    if (field == nullptr) continue;
    for (const std::string& path : Field_Paths(position, *field)) missing.erase(path);
  }
  if (sections.empty() && missing.empty()) return false;
  if (!sections.empty()) sections = " can't be read:" + sections + ";";
  Say(image.name + ":" + sections + Format(" %zu parameters are missing", missing.size()));
  return true;
}

std::string Cell(const Json& row, const char* name) {
  const auto cell = row.find(name);
  if (cell == row.end() || cell->is_null()) return {};
  if (cell->is_array()) {
    std::string list;
    for (const Json& each : *cell) list += (list.empty() ? "" : ",") + Cell({{name, each}}, name);
    return list;
  }
  const bool is_address = name == std::string_view("address");
  if (cell->is_number()) return Format(is_address ? "%04x" : "%u", cell->get<unsigned>());
  const auto& text = cell->get_ref<const std::string&>();
  const bool is_bytes = name == std::string_view("bytes") && text != hidden;
  return is_bytes ? HexRuns(text) : Escaped(text);
}

Json Shown(Json rows) {
  // What may show a secret: a text is hidden, a number becomes null.
  constexpr std::array telling = {"value", "bytes", "meaning", "old",
                                  "new",   "type",  "version", "next_address"};
  const bool is_secret = rows.is_object() && rows.value("secret", false);
  if (rows.is_object()) rows.erase("secret");
  for (const auto& [name, cell] : rows.items()) {
    const bool hides = is_secret && std::ranges::find(telling, name) != telling.end();
    if (hides && !cell.is_null()) cell = cell.is_string() ? Json(hidden) : Json();
    if (cell.is_structured()) cell = Shown(std::move(cell));
  }
  return rows;
}

std::string Change_Text(const Json& row, const char* kind) {
  const auto shown = [&](const char* name) {
    const std::string text = Cell({{kind, row[name]}}, kind);
    return text.empty() ? "(none)" : text;
  };
  const bool is_hidden = row["old"] == hidden || row["new"] == hidden;
  return Cell(row, "where") + (kind == std::string_view("bytes") ? ": " : "=") +
         (is_hidden ? "changed" : shown("old") + " -> " + shown("new")) +
         (row.contains("why") ? " (" + Cell(row, "why") + ")" : "");
}

Json Answer(const Options& options, const Image& image) {
  const Json source = {
      {"name", image.name}, {"adapter", image.adapter}, {"size", image.bytes.size()}};
  // The version of the object: more members may come, none changes its meaning.
  return {{"schema", 1}, {"command", options.command}, {"source", source}};
}

std::string Printed(const Options& options, const Json& answer, const std::vector<Columns>& lines) {
  if (options.flags.at("json")) {
    return answer.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  }
  const bool is_aligned = isatty(STDOUT_FILENO) != 0;
  std::vector<std::size_t> widths;
  for (const Columns& line : lines) {
    widths.resize(std::max(widths.size(), line.size()));
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], Width(line[i]));
  }
  std::string text;
  for (const Columns& line : lines) {
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
      text += line[i] + (is_aligned ? std::string(widths[i] - Width(line[i]) + 2, ' ') : "\t");
    }
    text += line.back() + "\n";
  }
  return text;
}

int Info(const Options& options, std::string& out) {
  const Image image = Source_Open(options, options.operands[0]);
  (void)SayWhatIsMissing(image);
  Json answer = Answer(options, image), sections = Json::array();
  for (const Range& range : image.ranges) {
    if (range.section == nullptr || range.field != nullptr) continue;
    const auto& [type, version, address, data, next_address] = *range.section;
    sections.push_back({{"section", Section_Name(range.position)},
                        {"address", address},
                        {"type", static_cast<std::uint32_t>(type)},
                        {"version", version},
                        {"next_address", next_address},
                        {"readable", !data.empty()},
                        {"secret", Range_Row(image, range)["secret"]}});
  }
  answer["state"] = State_Name(image.state);
  answer["product_number"] = image.product;
  answer["last_change"] = image.time;
  answer["sections"] = Shown(sections);
  std::vector<Columns> lines = {{"state", State_Name(image.state)}};
  if (image.state == ImageState::filled && !image.sections[0].data.empty()) {
    lines.push_back({"product number", Escaped(image.product)});
    lines.push_back({"last change", Time_Text(image.time)});
  }
  lines.push_back({"sections", Format("%zu", Image_Count(image))});
  lines.push_back({"size", Format("%zu", image.bytes.size())});
  lines.push_back({"read from", Escaped(image.name) + " (" + image.adapter + ")"});
  out += Printed(options, answer, lines);
  return exit_fine;
}

int List(const Options& options, std::string& out) {
  CheckSection(options.words.at("section"));
  std::span<const std::string> patterns = options.operands;
  const std::string& first = patterns[0];  // a source, if it looks like one
  const bool has_name =
      first.empty() || first == "-" || first.find('/') != first.npos || File_Exists(first.c_str());
  if (!has_name && options.words.at("device").empty()) {
    throw Failure(first + ": no such file, and no other source");
  }
  const Image image = Source_Open(options, has_name ? first : "");
  if (has_name) patterns = patterns.subspan(1);
  (void)SayWhatIsMissing(image);
  std::vector<bool> is_known(patterns.size());
  Json rows = Json::array();
  for (const Json& row : Parameter_Rows(image)) {
    bool is_wanted = patterns.empty();
    for (std::size_t i = 0; i < patterns.size(); ++i) {
      if (IsWanted(row["path"], patterns[i], true)) is_wanted = is_known[i] = true;
    }
    const bool is_shown = options.flags.at("all") || !row["value"].is_null();
    if (is_wanted && is_shown && IsSection(row["section"], options.words.at("section")))
      rows.push_back(row);
  }
  out +=
      RowsPrinted(options, image, "parameters", rows, options.flags.at("long") ? LongPair : Pair);
  int status = rows.empty() ? exit_finds : exit_fine;
  for (std::size_t i = 0; i < patterns.size(); ++i) {
    if (is_known[i]) continue;
    Say(patterns[i] + ": no such parameter or file");
    status = exit_finds;
  }
  return status;
}

int Get(const Options& options, std::string& out) {
  const Image image = Source_Open(options, options.words.at("source"));
  (void)SayWhatIsMissing(image);
  const Json all = Parameter_Rows(image);
  Json rows = Json::array();
  for (const std::string& path : options.operands) {
    const auto row = std::ranges::find_if(all, [&path](const Json& each) {
      return IsWanted(each["path"], path, false) && !each["value"].is_null();
    });
    if (row != all.end()) rows.push_back(*row);
    if (row == all.end()) Say(path + ": not stored");
  }
  out += RowsPrinted(options, image, "parameters", rows, Value);
  return rows.size() == options.operands.size() ? exit_fine : exit_finds;
}

int Map(const Options& options, std::string& out) {
  CheckSection(options.words.at("section"));
  const Image image = Source_Open(options, options.operands[0]);
  const std::size_t from = Number(options.words.at("from"), SIZE_MAX),
                    count = Number(options.words.at("count"), SIZE_MAX);
  if (from > 0 && from >= image.bytes.size()) {
    throw Failure(Format("--from %zu: the image has %zu bytes", from, image.bytes.size()));
  }
  Json rows = Json::array();
  for (Json& row : Range_Rows(image)) {
    const std::size_t address = row["address"], end = address + row["size"].get<std::size_t>();
    const bool is_touched = end > from && address - std::min(from, address) < count;
    if (!is_touched || !IsSection(row.value("section", ""), options.words.at("section"))) continue;
    if (!options.flags.at("hex")) row.erase("bytes");
    rows.push_back(std::move(row));
  }
  out += RowsPrinted(options, image, "ranges", rows, RangeLine);
  return exit_fine;
}

int Diff(const Options& options, std::string& out) {
  const Image a = Source_Open(options, options.operands[0]);
  const Image b = Source_Open(options, options.operands[1]);
  (void)SayWhatIsMissing(a);
  (void)SayWhatIsMissing(b);
  std::set<std::string> told;
  Json answer = Answer(options, a);
  answer["other"] = Answer(options, b)["source"];
  answer["states"] = {State_Name(a.state), State_Name(b.state)};
  answer["last_change"] = {a.time, b.time};
  answer["parameters"] = Shown(Differences(Parameter_Rows(a), Parameter_Rows(b), "value", told));
  answer["bytes"] = Shown(Differences(Range_Rows(a), Range_Rows(b), "bytes", told));
  std::vector<Columns> lines;
  if (a.state != b.state) {
    lines.push_back({std::string("state: ") + State_Name(a.state) + " -> " + State_Name(b.state)});
  }
  for (const Json& row : answer["parameters"]) lines.push_back({Change_Text(row, "value")});
  for (const Json& row : answer["bytes"]) lines.push_back({Change_Text(row, "bytes")});
  if (!options.flags.at("json") && a.time != b.time && a.time != 0 && b.time != 0) {
    Say("last change: " + Time_Text(a.time) + " -> " + Time_Text(b.time));
  }
  out += Printed(options, answer, lines);
  return lines.empty() ? exit_fine : exit_finds;
}
