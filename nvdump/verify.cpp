// SPDX-License-Identifier: MIT
// What the daemon relies on and does not notice by itself: verify.
#include <algorithm>

#include "config/store.h"
#include "nvdump/source.h"
#include "nvdump/start.h"
#include "nvdump/text.h"
#include "param/conversion.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

void Add(Json& findings, const Json& address, const Json& section, const Json& key,
         const std::string& what) {
  findings.push_back({{"address", address}, {"section", section}, {"key", key}, {"what", what}});
}

// Each header says three things.
void CheckHeader(const Image& image, const Range& range, Json& findings) {
  const std::size_t position = range.section->position;
  const SectionRecord& record = range.section->record;
  const SectionMap& map = Map_At(position);
  const auto add = [&](const std::string& what) {
    Add(findings, range.address, Section_Name(position), "header", what);
  };
  const auto check = [&](const char* what, const std::string& is, const std::string& should) {
    const std::string shown = Image_Hides(image, range) ? hidden : is;
    if (is != should) add(what + shown + " where " + should + " belongs");
  };
  const auto type = [](SectionType of) { return Format("0x%x", static_cast<unsigned>(of)); };
  const std::size_t stored_size = Section_PayloadSize(record.type);
  const std::size_t size = stored_size > 0 ? stored_size : PayloadSize(map.fields);
  const std::uint32_t end = Section_FieldAddress(record.address, size);
  check("type ", type(record.type), type(map.type));
  check("version ", Format("%u", record.version), Format("%u", section_version));
  check("next address ", Format("%04x", record.next_address),
        Format("%04x", position + 1 == chain_sections ? 0 : end));
  if (end > image.bytes.size()) {
    add(Format("the source ends in it, %zu bytes early", end - image.bytes.size()));
  }
  const bool is_last = range.section == &image.sections.back();
  if (is_last && position + 1 < chain_sections) {
    add(Format("the chain ends here, %zu sections are out of reach",
               chain_sections - position - 1));
  }
}

std::string TextFault(const Range& range) {
  const auto bytes = Field_Bytes(range);
  const std::size_t length = Field_Text(bytes).size();
  const auto dirt =
      std::ranges::count_if(bytes.subspan(length), [](auto byte) { return byte != 0; });
  const bool is_id = range.section->position == 0;  // which may fill its field
  if (length == bytes.size() && !is_id) return "no terminator";
  if (dirt > 0) {
    return Format("%td byte%s other than zero behind the text", dirt, dirt == 1 ? "" : "s");
  }
  // A text is handed over as it stands; an account is bytes, which are handed over as base64.
  const ValueSlots slots = Field_Values(range);
  const bool is_handed_over =
      !is_id && std::ranges::all_of(slots, [](auto& slot) { return IsUtf8(Slot_Text(slot)); });
  return is_handed_over || IsUtf8(Field_Text(bytes)) ? "" : "no UTF-8";
}

// Whether the conversion into the field makes this number, or its way back knows it.
bool IsKnown(const Range& range, std::int32_t number) {
  const FieldRule* rule = Param_FindRule(range.section->record.type, range.field->key);
  if (rule == nullptr || (rule->numbers == 0 && rule->values.empty())) return true;
  if (rule->numbers > 0) return number >= 0 && number < rule->numbers;
  bool takes_all_texts = false;
  for (const EnumRow& row : rule->values) {
    if (row.use != RowUse::unknown_number && row.number == number) return true;
    takes_all_texts = takes_all_texts || row.use == RowUse::unknown_text;
  }
  return number == 0 && !takes_all_texts;  // a text in no row leaves the field as it was
}

// What a field that no parameter feeds holds in every image; names of values among them.
std::string ConstantFault(const Range& range, bool hides) {
  StoredSection constant = *range.section;
  (void)Section_Prepare(constant.record);
  ValueSlots nothing{};
  const Field& field = *range.field;
  (void)Param_ConfigToSection(nothing, field.key, constant.record, range.offset, field.format);
  Range expected = range;
  expected.section = &constant;
  if (std::ranges::equal(Field_Bytes(range), Field_Bytes(expected))) return {};
  return (hides ? hidden : Field_Meaning(range)) + " where " + Field_Meaning(expected) + " belongs";
}

void CheckField(const Image& image, const Range& range, Json& findings) {
  const std::size_t position = range.section->position;
  const Field& field = *range.field;
  const bool hides = Image_Hides(image, range);
  const auto add = [&](const std::string& what) {
    if (what.empty()) return;
    Add(findings, range.address, Section_Name(position), Field_Key(range), what);
  };
  const std::int32_t number = Field_Signed(Field_Bytes(range));
  const bool is_text = field.format.kind == MAP_TEXT;
  if (is_text) add(TextFault(range));
  if (position == 0) return;
  if (!is_text && !IsKnown(range, number)) {
    add("no rule knows the number " + (hides ? hidden : Format("%d", number)));
  }
  if (Field_Paths(position, field).empty()) add(ConstantFault(range, hides));
}

void CheckConfig(const Image& image, const Options& options, Json& findings) {
  const WorkingCopy config(options.config, Source_Read(options.config));
  if (Start_IsForeign()) {
    const std::string own = product_number[0] == '\0' ? "none" : product_number.data();
    Add(findings, SECTION_HEADER_SIZE + identification_id.offset, "id", "id",
        image.product + " here, " + own + " in the configuration: the next start resets it");
  }
  for (const Json& row : Start_Restore(image, options.templates)) {
    if (row.contains("beside")) continue;
    Add(findings, row.value("address", Json()), row.value("section", ""), row.value("key", ""),
        Change_Text(Row_Shown(row)));
  }
}

int PrintFindings(const Options& options, const Image& image, std::string& out) {
  constexpr std::array faults = {
      "the EEPROM is blank", "the I/O board is in the factory's test set-up",
      "no finished identification: the next start fills the EEPROM anew"};
  Json answer = Answer(options, image);
  answer["sections"] = Image_Count(image);
  Json& findings = answer["findings"] = Json::array();
  if (image.state != ImageState::filled) {
    Add(findings, 0, "id", "header", faults.at(static_cast<std::size_t>(image.state)));
  }
  for (const Range& range : image.ranges) {
    if (image.state != ImageState::filled || range.section == nullptr) continue;
    const bool is_in_place = range.section->record.type == Map_At(range.section->position).type;
    if (range.field == nullptr) CheckHeader(image, range, findings);
    if (range.field != nullptr && is_in_place) CheckField(image, range, findings);
  }
  if (image.state == ImageState::filled && !options.config.empty()) {
    CheckConfig(image, options, findings);
  }
  const int status = findings.empty() ? exit_fine : exit_finds;
  if (options.json) {
    out += Json_Text(answer);
    return status;
  }
  for (const Json& finding : findings) {
    const std::string place = Cell(finding, "section") + " " + Cell(finding, "key") + ": ";
    out += (finding["address"].is_null() ? "----" : Cell(finding, "address")) + ": " +
           (place == " : " ? "" : place) + Cell(finding, "what") + "\n";
  }
  out += Format("%zu sections, %zu finding%s\n", Image_Count(image), findings.size(),
                findings.size() == 1 ? "" : "s");
  return status;
}

}  // namespace

int Verify(const Options& options, std::string& out) {
  return Source_ForEach(options, PrintFindings, out);
}
