// SPDX-License-Identifier: MIT
#include "nvdump/rows.h"

#include <unistd.h>

#include <algorithm>
#include <array>

#include "nvdump/text.h"
#include "param/conversion.h"

namespace {

// "2 (dmy)", and what the pair is there for unless it goes both ways.
std::string EnumText(const EnumRow& row) {
  constexpr std::array uses = {"", " stored", " restored", " for other texts", ""};
  const std::string second = row.second ? "," + std::string(*row.second) : "";
  const std::string text = " (" + std::string(row.text) + second + ")";
  return (row.use == RowUse::unknown_number ? "any" : Format("%d", row.number)) +
         (row.use == RowUse::unknown_text ? "" : text) + uses.at(static_cast<std::size_t>(row.use));
}

std::span<const EnumRow> EnumRows(const Range& range) {
  const FieldRule* rule = Param_FindRule(range.section->record.type, range.field->key);
  return rule == nullptr ? std::span<const EnumRow>() : rule->values;
}

std::string HeaderMeaning(const StoredSection& section) {
  const SectionRecord& record = section.record;
  return Section_Content(section.position) + Format(": type 0x%x, version %u, next %04x",
                                                    static_cast<unsigned>(record.type),
                                                    record.version, record.next_address);
}

Json RangeRow(const Image& image, const Range& range) {
  const auto& [address, size, section, field, offset] = range;
  const char* const gap = address + size == image.bytes.size() ? "rest" : "gap";
  const char* const described = field == nullptr ? "header" : "field";
  Json row = {{"address", address}, {"size", size}};
  row["kind"] = section == nullptr ? gap : described;
  if (section == nullptr) {
    row["meaning"] = Format("%zu bytes", size);
  } else {
    row["section"] = Section_Name(section->position);
    if (field == nullptr) row["meaning"] = HeaderMeaning(*section);
  }
  if (field != nullptr) {
    const std::string key = Field_Key(range);
    if (!key.empty()) row["key"] = key;
    row["meaning"] = Field_Meaning(range);
    const auto paths = Field_Paths(section->position, *field);
    if (!paths.empty()) row["paths"] = paths;
    for (const EnumRow& each : EnumRows(range)) row["texts"].push_back(EnumText(each));
  }
  row["bytes"] = Hex(std::span(image.bytes).subspan(address, size));
  row["secret"] = Image_Hides(image, range);
  return row;
}

// What people see as the text's width.
std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

}  // namespace

// A later row overwrites what an earlier one has put, unless it has nothing to put.
Json Parameter_Rows(const Image& image) {
  Json rows = Json::object();
  for (const Range& range : image.ranges) {
    if (range.field == nullptr) continue;
    const Json range_row = RangeRow(image, range);
    const ValueSlots slots = Field_Values(range);
    Json cells;
    for (const char* cell : {"section", "key", "address", "bytes", "paths", "secret"}) {
      cells[cell] = range_row.value(cell, Json());
    }
    std::size_t slot = 0;
    for (const std::string path : cells["paths"]) {
      const std::string value(Slot_Text(slots.at(slot++)));
      const bool is_new = !rows.contains(path);
      Json& row = rows[path];
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

Json Range_Rows(const Image& image) {
  std::vector<Range> ranges = image.ranges;
  std::ranges::stable_sort(ranges, {}, &Range::address);
  Json rows = Json::object();
  for (const Range& range : ranges) {
    const Json row = RangeRow(image, range);
    const char* const name = row.contains("key") ? "key" : "kind";
    const char* const place = row.contains("section") ? "section" : "address";
    rows[Cell(row, place) + " " + Cell(row, name)] = row;
  }
  return rows;
}

std::string Field_Meaning(const Range& range) {
  const auto bytes = Field_Bytes(range);
  const FieldKind kind = range.field->format.kind;
  if (kind == MAP_TEXT) return "\"" + Escaped(Field_Text(bytes)) + "\"";
  const bool is_time = range.section->record.type == SectionType::identification;
  if (kind == MAP_U16 || is_time) return Format("%u", Field_Number(bytes));
  const std::int32_t number = Field_Signed(bytes);
  for (const EnumRow& row : EnumRows(range)) {
    if (row.number == number && row.use < RowUse::unknown_text) {
      return EnumText({.number = number, .text = row.text, .second = row.second});
    }
  }
  return Format("%d", number);
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

Json Row_Shown(Json row) {
  // What may show a secret: a text is hidden, a number becomes null.
  constexpr std::array telling = {"value", "bytes", "meaning", "old",
                                  "new",   "type",  "version", "next_address"};
  const bool is_secret = row.value("secret", false);
  row.erase("secret");
  for (const auto& [name, cell] : row.items()) {
    const bool hides = is_secret && std::ranges::find(telling, name) != telling.end();
    if (hides && !cell.is_null()) cell = cell.is_string() ? Json(hidden) : Json();
    for (Json& each : cell) {
      if (each.is_object()) each = Row_Shown(each);
    }
  }
  return row;
}

Json Rows_Shown(const Json& rows) {
  Json shown = Json::array();
  for (const Json& row : rows) shown.push_back(Row_Shown(row));
  return shown;
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

std::string Lines(const std::vector<Columns>& lines) {
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

Json Answer(const Options& options, const Image& image) {
  return {
      {"schema", json_schema},
      {"command", options.command},
      {"source", {{"name", image.name}, {"adapter", image.adapter}, {"size", image.bytes.size()}}}};
}

std::string Json_Text(const Json& answer) {
  return answer.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
