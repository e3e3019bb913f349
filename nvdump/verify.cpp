// SPDX-License-Identifier: MIT
// What the daemon relies on and does not notice by itself: verify.
#include <algorithm>

#include "config/store.h"
#include "nvdump/nvdump.h"
#include "param/conversion.h"
#include "platform/utf8.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

using Faults = std::vector<std::string>;

// Each header says three things.
Faults HeaderFaults(const Image& image, const Range& range, const Json& row) {
  Faults faults;
  const std::size_t position = range.position;
  const SectionRecord& record = *range.section;
  const SectionMap& map = Map_At(position);
  const auto check = [&](const char* what, const std::string& is, const std::string& should) {
    const std::string shown = row["secret"] ? hidden : is;
    if (is != should) faults.push_back(what + shown + " where " + should + " belongs");
  };
  const auto type = [](SectionType of) { return Format("0x%x", static_cast<unsigned>(of)); };
  const std::size_t stored_size = Section_PayloadSize(record.type);
  const std::size_t size = stored_size > 0 ? stored_size : PayloadSize(map.fields);
  const std::uint32_t end = Section_FieldAddress(record.address, size);
  const std::size_t behind = chain_sections - position - 1;
  check("type ", type(record.type), type(map.type));
  check("version ", Format("%u", record.version), Format("%u", section_version));
  check("next address ", Format("%04x", record.next_address),
        Format("%04x", behind == 0 ? 0 : end));
  if (end > image.bytes.size()) {
    faults.push_back(Format("the source ends in it, %zu bytes early", end - image.bytes.size()));
  }
  if (range.section == &image.sections.back() && behind > 0) {
    faults.push_back(Format("the chain ends here, %zu sections are out of reach", behind));
  }
  return faults;
}

// A character that a cut left unfinished at the end is fine.
bool IsUtf8(std::string_view text) {
  for (std::size_t size = 0; !text.empty(); text.remove_prefix(std::min(size, text.size()))) {
    size = Utf8_CharacterSize(text);
    if (size == 0) return false;
  }
  return true;
}

std::string TextFault(const Range& range) {
  const auto bytes = Field_Bytes(range);
  const std::size_t length = Field_Text(bytes).size();
  const auto dirt =
      std::ranges::count_if(bytes.subspan(length), [](auto byte) { return byte != 0; });
  const bool is_id = range.position == 0;  // which may fill its field
  if (length == bytes.size() && !is_id) return "no terminator";
  if (dirt > 0) {
    return Format("%td byte%s other than zero behind the text", dirt, dirt == 1 ? "" : "s");
  }
  // A text is handed over as it stands; an account is bytes, which are handed over as base64.
  const ValueSlots slots = Field_Values(range);
  const bool is_utf8 =
      is_id ? IsUtf8(Field_Text(bytes)) : std::ranges::all_of(slots, IsUtf8, Slot_Text);
  return is_utf8 ? "" : "no UTF-8";
}

// Whether the conversion into the field makes this number, or its way back knows it.
bool IsKnown(const Range& range, std::int32_t number) {
  const FieldRule* rule = Param_FindRule(range.section->type, range.field->key);
  if (rule == nullptr || (rule->numbers == 0 && rule->values.empty())) return true;
  if (rule->numbers > 0) return number >= 0 && number < rule->numbers;
  // A text in no row leaves the field as it was.
  const auto unknown = std::ranges::count(rule->values, RowUse::unknown_text, &EnumRow::use);
  return (number == 0 && unknown == 0) || std::ranges::any_of(rule->values, [number](auto& row) {
           return row.use != RowUse::unknown_number && row.number == number;
         });
}

// What a field that no parameter feeds holds in every image; names of values among them.
std::string ConstantFault(const Image& image, const Range& range, const Json& row) {
  SectionRecord constant = *range.section;
  (void)Section_Prepare(constant);
  ValueSlots nothing{};
  const auto& [key, format, paths] = *range.field;
  (void)Param_ConfigToSection(nothing, key, constant, range.offset, format);
  Range expected = range;
  expected.section = &constant;
  if (std::ranges::equal(Field_Bytes(range), Field_Bytes(expected))) return {};
  return Cell(Shown(row), "meaning") + " where " + Cell(Range_Row(image, expected), "meaning") +
         " belongs";
}

Faults FieldFaults(const Image& image, const Range& range, const Json& row) {
  Faults faults;
  const std::size_t position = range.position;
  if (range.section->type != Map_At(position).type) return faults;
  const std::int32_t number = Field_Signed(Field_Bytes(range));
  const bool is_text = range.field->format.kind == MAP_TEXT;
  if (is_text) faults.push_back(TextFault(range));
  if (!is_text && position > 0 && !IsKnown(range, number)) {
    faults.push_back("no rule knows the number " + (row["secret"] ? hidden : Format("%d", number)));
  }
  if (position > 0 && !row.contains("paths")) faults.push_back(ConstantFault(image, range, row));
  std::erase(faults, "");
  return faults;
}

// A row of what is wrong with a range or a parameter.
void Add(Json& findings, const Json& row, const std::string& what) {
  const char* const kind = row.value("kind", "") == "header" ? "header" : "";
  findings.push_back({{"address", row.value("address", Json())},
                      {"section", row.value("section", "")},
                      {"key", row.value("key", kind)},
                      {"what", what}});
}

void CheckConfig(const Image& image, const Options& options, Json& findings) {
  Config_Use(options.words.at("config"), Source_Read(options.words.at("config")));
  if (Start_IsForeign()) {
    const std::string own = product_number[0] == '\0' ? "none" : product_number.data();
    Add(findings, Range_Row(image, image.ranges.at(1)),
        image.product + " here, " + own + " in the configuration: the next start resets it");
  }
  for (const Json& row : Start_Restore(image, options)) {
    if (!row.contains("beside")) Add(findings, row, Change_Text(Shown(row), "value"));
  }
}

}  // namespace

int Verify(const Options& options, std::string& out) {
  constexpr std::array faults = {
      "the EEPROM is blank", "the I/O board is in the factory's test set-up",
      "no finished identification: the next start fills the EEPROM anew"};
  const Image image = Source_Open(options, options.operands[0]);
  const bool is_filled = image.state == ImageState::filled;
  Json answer = Answer(options, image);
  answer["sections"] = Image_Count(image);
  Json& findings = answer["findings"] = Json::array();
  if (!is_filled) {
    Add(findings, {{"address", 0}, {"section", "id"}, {"kind", "header"}},
        faults.at(static_cast<std::size_t>(image.state)));
  }
  for (const Range& range : image.ranges) {
    if (!is_filled || range.section == nullptr) continue;
    const Json row = Range_Row(image, range);
    const auto faults_of = range.field == nullptr ? HeaderFaults : FieldFaults;
    for (const std::string& fault : faults_of(image, range, row)) Add(findings, row, fault);
  }
  if (is_filled && !options.words.at("config").empty()) CheckConfig(image, options, findings);
  std::vector<Columns> lines;
  for (const Json& finding : findings) {
    const std::string place = Cell(finding, "section") + " " + Cell(finding, "key") + ": ";
    lines.push_back({(finding["address"].is_null() ? "----" : Cell(finding, "address")) + ": " +
                     (place == " : " ? "" : place) + Cell(finding, "what")});
  }
  lines.push_back({Format("%zu sections, %zu finding%s", Image_Count(image), findings.size(),
                          findings.size() == 1 ? "" : "s")});
  out += Printed(options, answer, lines);
  return findings.empty() ? exit_fine : exit_finds;
}
