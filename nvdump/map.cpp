// SPDX-License-Identifier: MIT
// Every byte of an image with what it means, and the same without an image as a reference page.
#include <algorithm>
#include <array>

#include "nvdump/json.h"
#include "nvdump/options.h"
#include "nvdump/output.h"
#include "nvdump/source.h"
#include "nvdump/text.h"
#include "param/conversion.h"
#include "sections/section.h"

namespace {

struct Entry {
  std::size_t address;
  std::size_t size;
  const char* kind;  // "header", "field", "gap", "rest"
  std::string section;
  std::string name;  // what people call it
  std::string meaning;
  std::string key = {};
  std::string paths = {};
  bool is_hidden = false;
};

// What the sections hold, by their place in the chain.
constexpr std::array<const char*, chain_sections> contents = {
    "identification",
    "date and time",
    "users",
    "network",
    "image",
    "lens",
    "audio",
    "day/night and infrared",
    "stream profile I0",
    "stream profile I1",
    "stream profile I2",
    "stream profile I3",
    "recording to the memory card",
    "recording to network storage",
};

// The texts and numbers of a field; none for what is no enumeration.
std::span<const EnumRow> Enumeration(SectionType type, const FieldKey& key) {
  const FieldRule* rule = Param_FindRule(type, key);
  return rule == nullptr ? std::span<const EnumRow>() : rule->values;
}

std::string EnumText(const StoredField& stored, std::int32_t number) {
  const SectionType type = stored.section->record.type;
  if (type == SectionType::identification) return {};
  for (const EnumRow& row : Enumeration(type, stored.field->key)) {
    const bool is_it = row.use != RowUse::unknown_text && row.use != RowUse::unknown_number;
    if (!is_it || row.number != number) continue;
    const std::string second = row.second ? "," + std::string(*row.second) : std::string();
    return " (" + std::string(row.text) + second + ")";
  }
  return {};
}

std::string MeaningOf(const StoredField& stored, bool is_hidden) {
  if (is_hidden) return hidden;
  const auto bytes = Field_Bytes(stored);
  const FieldKind kind = stored.field->format.kind;
  if (kind == MAP_TEXT) return Quoted(Field_Text(bytes), true);
  const bool is_time = stored.section->record.type == SectionType::identification;
  if (kind == MAP_U16 || is_time) return Format("%u", Field_Number(bytes));
  return Format("%d", Field_Signed(bytes)) + EnumText(stored, Field_Signed(bytes));
}

Entry FieldEntry(const StoredField& stored, const Options& options) {
  const std::string key = Key_Text(stored);
  const bool is_hidden = stored.is_secret && !options.secrets;
  return {stored.address,
          stored.field->format.size,
          "field",
          SectionName_At(stored.section->position),
          key.empty() ? "(no row)" : key,
          MeaningOf(stored, is_hidden),
          key,
          Paths_Text(stored).data(),
          is_hidden};
}

std::string HeaderText(const SectionRecord& record) {
  return Format("type %u, version %u, next %04x", static_cast<unsigned>(record.type),
                record.version, record.next_address);
}

Entry HeaderEntry(const StoredSection& section, const Options& options) {
  const auto& [position, record, is_readable, is_secret] = section;
  const bool is_hidden = is_secret && !options.secrets;
  const char* content =
      position < chain_sections ? contents.at(position) : "behind the last section";
  return {record.address,
          SECTION_HEADER_SIZE,
          "header",
          SectionName_At(position),
          "[" + SectionName_At(position) + "]",
          std::string(content) + ": " + (is_hidden ? hidden : HeaderText(record)),
          {},
          {},
          is_hidden};
}

bool IsUniform(std::span<const std::uint8_t> bytes) {
  return std::ranges::all_of(bytes, [&](auto byte) { return byte == bytes[0]; });
}

// What no field describes may be left of one that held a password.
Entry GapEntry(const Image& image, std::size_t from, std::size_t to, const Options& options) {
  const bool is_rest = to == image.bytes.size();
  const auto bytes = Image_Bytes(image, from, to - from);
  return {from,
          to - from,
          is_rest ? "rest" : "gap",
          "",
          is_rest ? "(behind the chain)" : "(gap)",
          Format("%zu bytes", to - from),
          {},
          {},
          !options.secrets && !IsUniform(bytes)};
}

// By address, with entries for what lies between.
std::vector<Entry> AllEntries(const Image& image, const Options& options) {
  std::vector<Entry> known;
  for (const StoredSection& section : image.sections)
    known.push_back(HeaderEntry(section, options));
  for (const StoredField& stored : Image_Fields(image))
    known.push_back(FieldEntry(stored, options));
  std::ranges::stable_sort(known, {}, &Entry::address);
  std::vector<Entry> entries;
  std::size_t at = 0;
  for (Entry& entry : known) {
    const std::size_t end = entry.address + entry.size;
    const std::size_t begin = std::min(entry.address, image.bytes.size());
    if (begin > at) entries.push_back(GapEntry(image, at, begin, options));
    entries.push_back(std::move(entry));
    at = std::max(at, end);
  }
  if (at < image.bytes.size()) entries.push_back(GapEntry(image, at, image.bytes.size(), options));
  return entries;
}

Json EntryJson(const Image& image, const Entry& entry, const Options& options) {
  Json json = {{"address", entry.address}, {"size", entry.size}, {"kind", entry.kind}};
  if (!entry.section.empty()) json["section"] = entry.section;
  if (!entry.key.empty()) json["key"] = entry.key;
  json["meaning"] = entry.meaning;
  const RowPaths paths = Map_SplitPaths(entry.paths);
  if (paths.count > 0) json["paths"] = std::span(paths.path).first(paths.count);
  if (!options.hex) return json;
  json["bytes"] = entry.is_hidden ? hidden : Hex(Image_Bytes(image, entry.address, entry.size));
  return json;
}

std::string EntryText(const Image& image, const Entry& entry, const Options& options) {
  std::string line = entry.kind == std::string_view("header") ? "\n" : "";
  line += Format("%04zx  %-24s ", entry.address, entry.name.c_str());
  if (options.hex) {
    const auto bytes = Image_Bytes(image, entry.address, entry.size);
    line += (entry.is_hidden ? hidden : HexRuns(bytes)) + " = ";
  }
  line += entry.meaning;
  if (!entry.paths.empty()) line += " <- " + entry.paths;
  return line + "\n";
}

constexpr const char* KindName(FieldKind kind) {
  switch (kind) {
    case MAP_TEXT:
      return "text";
    case MAP_BYTE:
      return "byte";
    case MAP_U16:
      return "unsigned";
    case MAP_S16:
    case MAP_WORD32:
      break;
  }
  return "signed";
}

std::string EnumRowText(const EnumRow& row) {
  std::string text =
      "`" + std::string(row.text) + (row.second ? "," + std::string(*row.second) : "") + "`";
  switch (row.use) {
    case RowUse::both:
      return Format("%d ", row.number) + text;
    case RowUse::to_section:
      return text + Format(" is stored as %d", row.number);
    case RowUse::to_config:
      return Format("%d is restored as ", row.number) + text;
    case RowUse::unknown_text:
      return Format("other texts are stored as %d", row.number);
    case RowUse::unknown_number:
      break;
  }
  return "other numbers are restored as " + text;
}

std::string FieldMarkdown(const Field& field, std::uint32_t address, const SectionMap& map) {
  std::string parameters, texts;
  const PathText paths = Map_Paths(map, field);
  const RowPaths split = Map_SplitPaths(paths.data());
  for (std::size_t i = 0; i < split.count; ++i) {
    parameters += (i > 0 ? ", `" : "`") + std::string(split.path[i]) + "`";
  }
  for (const EnumRow& row : Enumeration(map.type, field.key)) {
    texts += (texts.empty() ? "" : "; ") + EnumRowText(row);
  }
  return Format("| %u | %04X | `%s` | %u | %s | ", address, address, Key_Text(field.key).c_str(),
                field.format.size, KindName(field.format.kind)) +
         parameters + " | " + texts + " |\n";
}

constexpr const char* page_head =
    "# Parameters\n\n"
    "Every field of the EEPROM's image that a row of the table describes, and the configuration\n"
    "parameters that it is made of. `%d` stands for the index of the network storage in its list.\n"
    "A field is text (UTF-8, zeros behind it), a byte, or a signed or unsigned number, high byte\n"
    "first. For an enumeration the last column has the stored numbers and their texts; two texts\n"
    "belong to two parameters, in their order. The other conversions are in "
    "`param/*_rules.cpp`.\n\n"
    "Made by `nvdump map --markdown`; `tools/update-golden` makes it again.\n";

std::string SectionMarkdown(std::size_t position) {
  const SectionMap& map = Map_At(position);
  std::uint32_t address = SectionAddress_At(position);
  std::string text =
      Format("\n## %s: %s\n\n", SectionName_At(position).c_str(), contents.at(position));
  text += Format("Type %u at %u (%04X).\n\n", static_cast<unsigned>(map.type), address, address);
  text += "| address | hex | key | size | kind | parameters | numbers and texts |\n";
  text += "|---|---|---|---|---|---|---|\n";
  address += SECTION_HEADER_SIZE;
  for (const Field& field : Map_Rows(map)) {
    text += FieldMarkdown(field, address, map);
    address += field.format.size;
  }
  return text;
}

}  // namespace

int Map(const Options& options, std::string& out) {
  if (options.markdown && options.json) throw Failure("--markdown and --json exclude each other");
  if (options.markdown) {
    out += page_head;
    for (std::size_t position = 1; position < chain_sections; ++position) {
      out += SectionMarkdown(position);
    }
    return exit_fine;
  }
  const Image image = Source_Open(options, options.operands);
  std::vector<Entry> entries = AllEntries(image, options);
  std::erase_if(entries, [&options](const Entry& entry) {
    return entry.address + entry.size <= options.from ||
           entry.address - std::min(options.from, entry.address) >= options.count ||
           !IsSection(entry.section, options.section);
  });
  if (!options.json) {
    for (const Entry& entry : entries) out += EntryText(image, entry, options);
    return exit_fine;
  }
  Json json = Json_Head(options.command, image);
  json["ranges"] = Json::array();
  for (const Entry& entry : entries) json["ranges"].push_back(EntryJson(image, entry, options));
  out += Json_Text(json);
  return exit_fine;
}
