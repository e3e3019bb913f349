// SPDX-License-Identifier: MIT
// What an image holds, and what differs from another: info, list, get, map, diff.
#include <fnmatch.h>

#include <algorithm>

#include "config/store.h"
#include "nvdump/rows.h"
#include "nvdump/source.h"
#include "nvdump/text.h"

namespace {

int PrintInfo(const Options& options, const Image& image, std::string& out) {
  (void)Image_SayWhatIsMissing(image);
  Json answer = Answer(options, image), sections = Json::array();
  for (const Range& range : image.ranges) {
    if (range.section == nullptr || range.field != nullptr) continue;
    const auto& [position, record, is_readable] = *range.section;
    sections.push_back({{"section", Section_Name(position)},
                        {"address", record.address},
                        {"type", static_cast<std::uint32_t>(record.type)},
                        {"version", record.version},
                        {"next_address", record.next_address},
                        {"readable", is_readable},
                        {"secret", Image_Hides(image, range)}});
  }
  answer["state"] = State_Name(image.state);
  answer["product_number"] = image.product;
  answer["last_change"] = image.time;
  answer["sections"] = Rows_Shown(sections);
  std::vector<Columns> lines = {{"state", State_Name(image.state)}};
  if (image.state == ImageState::filled) {
    lines.push_back({"product number", Escaped(image.product)});
    lines.push_back({"last change", Time_Text(image.time)});
  }
  lines.push_back({"sections", Format("%zu", Image_Count(image))});
  lines.push_back({"size", Format("%zu", image.bytes.size())});
  lines.push_back({"read from", Escaped(image.name) + " (" + image.adapter + ")"});
  out += options.json ? Json_Text(answer) : Lines(lines);
  return exit_fine;
}

// Whether a path of the table, with any number for its "%d", is the wanted one or fits the pattern.
bool IsWanted(const std::string& table_path, const std::string& wanted, bool is_pattern) {
  constexpr int most_instances = 100;  // that are tried
  const bool is_numbered = table_path.find("%d") != std::string::npos;
  for (int index = -1; index < (is_numbered ? most_instances : 0); ++index) {
    const std::string path = index < 0 ? table_path : Nv_FormatPath(table_path, index).data();
    if (path == wanted) return true;
    if (is_pattern && fnmatch(wanted.c_str(), path.c_str(), 0) == 0) return true;
  }
  return false;
}

std::string Printed(const Options& options, const Image& image, const char* name, const Json& rows,
                    Columns (*columns)(const Json& row)) {
  Json answer = Answer(options, image);
  answer[name] = Rows_Shown(rows);
  std::vector<Columns> lines;
  for (const Json& row : answer[name]) lines.push_back(columns(row));
  return options.json ? Json_Text(answer) : Lines(lines);
}

Columns Value(const Json& row) { return {Cell(row, "value")}; }
Columns Pair(const Json& row) { return {Cell(row, "path") + "=" + Cell(row, "value")}; }

Columns LongPair(const Json& row) {
  Columns columns = {Cell(row, "section"), "", "", Pair(row)[0], ""};
  for (const Json& field : row["fields"]) {
    const char* const comma = columns[1].empty() ? "" : ",";
    columns[1] += comma + Cell(field, "key");
    columns[2] += comma + Cell(field, "address");
    columns[4] += comma + Cell(field, "bytes");
  }
  return columns;
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

// The rows of one image beside those of the other about the same; not what lies between the fields,
// not the one field that always differs, and no field of a parameter that has told it already.
Json Differences(const Json& a, const Json& b, const char* cell, const Json& told) {
  Json all = a, differences = Json::object();
  all.update(b);
  for (const auto& [subject, row] : all.items()) {
    const Json before = a.value(subject, Json::object()), after = b.value(subject, Json::object());
    const Json old = before.value(cell, Json()), now = after.value(cell, Json());
    const bool is_path = row.contains("path");
    bool is_told = old == now || !row.contains("section") || subject == "id time";
    for (const std::string path : row.value("paths", Json::array())) {
      is_told = is_told || told.contains(path);
    }
    if (is_told) continue;
    const std::string address = Cell(before.empty() ? after : before, "address") + ": ";
    differences[subject] = {
        {"where", (is_path ? "" : address) + subject},
        {"old", old},
        {"new", now},
        {"secret", before.value("secret", false) || after.value("secret", false)}};
  }
  return differences;
}

}  // namespace

int Info(const Options& options, std::string& out) {
  return Source_ForEach(options, PrintInfo, out);
}

int List(const Options& options, std::string& out) {
  std::span<const std::string> patterns = options.operands;
  const bool has_name = patterns[0].empty() || Source_IsName(patterns[0]);
  if (!has_name && options.device.empty()) {
    throw Failure(patterns[0] + ": no such file, and no other source");
  }
  const Image image = Source_Open(options, has_name ? patterns[0] : "");
  if (has_name) patterns = patterns.subspan(1);
  (void)Image_SayWhatIsMissing(image);
  std::vector<bool> is_known(patterns.size());
  Json rows = Json::array();
  for (const Json& row : Parameter_Rows(image)) {
    bool is_wanted = patterns.empty();
    for (std::size_t i = 0; i < patterns.size(); ++i) {
      if (IsWanted(row["path"], patterns[i], true)) is_wanted = is_known[i] = true;
    }
    const bool is_shown = options.all || !row["value"].is_null();
    if (is_wanted && is_shown && IsSection(row["section"], options.section)) rows.push_back(row);
  }
  out += Printed(options, image, "parameters", rows, options.is_long ? LongPair : Pair);
  int status = rows.empty() ? exit_finds : exit_fine;
  for (std::size_t i = 0; i < patterns.size(); ++i) {
    if (is_known[i]) continue;
    Say(patterns[i] + ": no such parameter or file");
    status = exit_finds;
  }
  return status;
}

int Get(const Options& options, std::string& out) {
  const Image image = Source_Open(options, options.source);
  (void)Image_SayWhatIsMissing(image);
  const Json all = Parameter_Rows(image);
  Json rows = Json::array();
  for (const std::string& path : options.operands) {
    const auto row = std::ranges::find_if(all, [&path](const Json& each) {
      return IsWanted(each["path"], path, false) && !each["value"].is_null();
    });
    if (row != all.end()) rows.push_back(*row);
    if (row == all.end()) Say(path + ": not stored");
  }
  out += Printed(options, image, "parameters", rows, Value);
  return rows.size() == options.operands.size() ? exit_fine : exit_finds;
}

int Map(const Options& options, std::string& out) {
  const Image image = Source_Open(options, options.operands[0]);
  if (options.from > 0 && options.from >= image.bytes.size()) {
    throw Failure(Format("--from %zu: the image has %zu bytes", options.from, image.bytes.size()));
  }
  Json rows = Json::array();
  for (Json& row : Range_Rows(image)) {
    const std::size_t address = row["address"], end = address + row["size"].get<std::size_t>();
    const bool is_touched =
        end > options.from && address - std::min(options.from, address) < options.count;
    if (!is_touched || !IsSection(row.value("section", ""), options.section)) continue;
    if (!options.hex) row.erase("bytes");
    rows.push_back(std::move(row));
  }
  out += Printed(options, image, "ranges", rows, RangeLine);
  return exit_fine;
}

int Diff(const Options& options, std::string& out) {
  const Image a = Source_Open(options, options.operands[0]);
  const Image b = Source_Open(options, options.operands[1]);
  (void)Image_SayWhatIsMissing(a);
  (void)Image_SayWhatIsMissing(b);
  const Json parameters = Differences(Parameter_Rows(a), Parameter_Rows(b), "value", {});
  const Json bytes = Differences(Range_Rows(a), Range_Rows(b), "bytes", parameters);
  Json answer = Answer(options, a);
  answer["other"] = Answer(options, b)["source"];
  answer["states"] = {State_Name(a.state), State_Name(b.state)};
  answer["last_change"] = {a.time, b.time};
  answer["parameters"] = Rows_Shown(parameters);
  answer["bytes"] = Rows_Shown(bytes);
  const bool is_equal = parameters.empty() && bytes.empty() && a.state == b.state;
  if (options.json) {
    out += Json_Text(answer);
    return is_equal ? exit_fine : exit_finds;
  }
  if (a.state != b.state) {
    out += std::string("state: ") + State_Name(a.state) + " -> " + State_Name(b.state) + "\n";
  }
  for (const Json& row : answer["parameters"]) out += Change_Text(row, "value") + "\n";
  for (const Json& row : answer["bytes"]) out += Change_Text(row, "bytes") + "\n";
  if (a.time != b.time && a.time != 0 && b.time != 0) {
    Say("last change: " + Time_Text(a.time) + " -> " + Time_Text(b.time));
  }
  return is_equal ? exit_fine : exit_finds;
}
