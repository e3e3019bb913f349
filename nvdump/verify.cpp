// SPDX-License-Identifier: MIT
// What the daemon relies on and does not notice by itself: verify.
#include <algorithm>

#include "config/store.h"
#include "nvdump/apply.h"
#include "nvdump/json.h"
#include "nvdump/options.h"
#include "nvdump/output.h"
#include "nvdump/source.h"
#include "nvdump/text.h"
#include "param/conversion.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

struct Complaint {
  std::optional<std::uint32_t> address;
  std::string section;
  std::string key;
  std::string what;
};
using Complaints = std::vector<Complaint>;

// --- the chain -----------------------------------------------------------------------------------

std::uint32_t ExpectedNext(const StoredSection& section) {
  if (section.position + 1 == chain_sections) return 0;
  const std::size_t size = PayloadSize(Map_At(section.position).fields);
  return Section_FieldAddress(section.record.address, size);
}

bool LeadsOn(const StoredSection& section) {
  return section.record.next_address == ExpectedNext(section);
}

// A section that is none and leads nowhere.
bool IsLost(const StoredSection& section) { return !section.is_readable && !LeadsOn(section); }

// What a header says, as it may be shown.
std::string TypeText(const StoredSection& section) {
  const auto type = static_cast<unsigned>(section.record.type);
  return "type " + (section.is_secret ? hidden : Format("%u", type));
}

std::string LinkText(const StoredSection& section) {
  return "next address " +
         (section.is_secret ? hidden : Format("%04x", section.record.next_address));
}

std::string HeaderFault(const StoredSection& section) {
  const SectionRecord& record = section.record;
  const SectionType expected = Map_At(section.position).type;
  if (Section_PayloadSize(record.type) == 0) return "unknown " + TypeText(section);
  if (record.type != expected) {
    return TypeText(section) + Format(" where %u belongs", static_cast<unsigned>(expected));
  }
  if (record.version == section_version) return {};
  return "version " + (section.is_secret ? hidden : Format("%u", record.version));
}

void Add(Complaints& complaints, const StoredSection& section, const std::string& what) {
  complaints.push_back({section.record.address, SectionName_At(section.position), "header", what});
}

// Returns false: the chain does not go on.
bool AddEnd(Complaints& complaints, const StoredSection& section, const std::string& why,
            std::size_t first_lost) {
  Add(complaints, section,
      Format("the chain ends at %04x: %s; %zu sections out of reach", section.record.address,
             why.c_str(), chain_sections - first_lost));
  return false;
}

// Why the chain ends behind a section whose next address is another than it should be; empty when
// it goes on.
std::string BreakOf(const Image& image, const StoredSection& section) {
  const std::size_t position = section.position + 1;
  if (section.record.next_address == 0) return "next address 0";
  if (position >= image.sections.size()) {
    const char* where = image.end == ChainStep::loop ? " leads back" : " leads out of the image";
    return LinkText(section) + where;
  }
  const StoredSection& following = image.sections[position];
  if (following.record.type == Map_At(position).type) return {};
  if (Section_PayloadSize(following.record.type) == 0) {
    return LinkText(section) + " leads to no section";
  }
  return LinkText(section) + " leads to " + TypeText(following);
}

// Says where such a section leads. Returns whether the chain goes on there.
bool FollowLink(const Image& image, const StoredSection& section, Complaints& complaints) {
  const std::size_t position = section.position + 1;
  if (position >= chain_sections) {
    Add(complaints, section, LinkText(section) + " behind the last section");
    return false;
  }
  const std::string why = BreakOf(image, section);
  if (!why.empty()) return AddEnd(complaints, section, why, position);
  Add(complaints, section,
      LinkText(section) + Format(" where %04x belongs", ExpectedNext(section)));
  return true;
}

// Returns how many sections are in reach.
std::size_t CheckChain(const Image& image, Complaints& complaints) {
  for (const StoredSection& section : image.sections) {
    const std::string fault = HeaderFault(section);
    if (IsLost(section)) {
      (void)AddEnd(complaints, section, fault, section.position);
      return section.position;
    }
    if (!fault.empty()) Add(complaints, section, fault);
    const bool goes_on = LeadsOn(section) || FollowLink(image, section, complaints);
    if (!goes_on || section.position + 1 == chain_sections) return section.position + 1;
  }
  return image.sections.size();
}

// --- the fields ----------------------------------------------------------------------------------

std::string TextFault(const StoredField& stored) {
  const auto bytes = Field_Bytes(stored);
  const std::size_t length = Field_Text(bytes).size();
  const bool may_fill_field = stored.section->record.type == SectionType::identification;
  if (length == bytes.size() && !may_fill_field) return "no terminator";
  const auto rest = bytes.subspan(length);
  const auto dirt = std::ranges::count_if(rest, [](auto byte) { return byte != 0; });
  if (dirt > 0) return Format("%td bytes other than zero behind the text", dirt);
  return {};
}

// A text that is handed over as it stands; an account is bytes, which are handed over as base64.
bool IsReadable(const StoredField& stored) {
  if (IsUtf8(Field_Text(Field_Bytes(stored)))) return true;
  const ValueSlots slots = Field_Values(stored);
  return stored.section->position > 0 &&
         std::ranges::all_of(slots, [](const ValueSlot& slot) { return IsUtf8(Slot_Text(slot)); });
}

// Whether the conversion into the field makes this number, or its way back knows it.
bool IsKnown(const StoredField& stored, std::int32_t number) {
  const FieldRule* rule = Param_FindRule(stored.section->record.type, stored.field->key);
  if (rule == nullptr) return true;
  if (rule->numbers > 0) return number >= 0 && number < rule->numbers;
  if (rule->values.empty()) return true;
  const auto holds = [number](const EnumRow& row) {
    return row.use != RowUse::unknown_number && row.number == number;
  };
  if (std::ranges::any_of(rule->values, holds)) return true;
  // A text in no row leaves the field as it was: 0.
  return number == 0 &&
         std::ranges::find(rule->values, RowUse::unknown_text, &EnumRow::use) == rule->values.end();
}

std::string ContentFault(const StoredField& stored) {
  if (stored.field->format.kind == MAP_TEXT) {
    const std::string fault = TextFault(stored);
    return fault.empty() && !IsReadable(stored) ? "no UTF-8" : fault;
  }
  if (stored.section->record.type == SectionType::identification) return {};
  const std::int32_t number = Field_Signed(Field_Bytes(stored));
  if (IsKnown(stored, number)) return {};
  return "no rule knows the number " + (stored.is_secret ? hidden : Format("%d", number));
}

// What a field that no parameter feeds holds in every image; names of values among them.
std::string ConstantFault(const StoredField& stored) {
  SectionRecord expected;
  expected.type = stored.section->record.type;
  if (Paths_Text(stored)[0] != '\0' || expected.type == SectionType::identification) return {};
  (void)Section_Prepare(expected);
  ValueSlots nothing{};
  const FieldFormat format = stored.field->format;
  (void)Param_ConfigToSection(nothing, stored.field->key, expected, stored.offset, format);
  const auto right = Section_Field(expected, stored.offset, format.size);
  const auto bytes = Field_Bytes(stored);
  if (std::ranges::equal(bytes, right)) return {};
  if (format.kind != MAP_TEXT) {
    return (stored.is_secret ? hidden : Format("%u", Field_Number(bytes))) +
           Format(" where %u belongs", Field_Number(right));
  }
  return Quoted(Field_Text(bytes), !stored.is_secret) + " where " +
         Quoted(Field_Text(right), true) + " belongs";
}

void CheckFields(const Image& image, std::size_t reach, Complaints& complaints) {
  for (const StoredField& stored : Image_Fields(image)) {
    const SectionRecord& record = stored.section->record;
    const bool is_whole = stored.address + stored.field->format.size <= image.bytes.size();
    const bool is_in_place = record.type == Map_At(stored.section->position).type;
    if (stored.section->position >= reach || !is_whole || !is_in_place) continue;
    for (const std::string& fault : {ContentFault(stored), ConstantFault(stored)}) {
      if (fault.empty()) continue;
      complaints.push_back(
          {stored.address, SectionName_At(stored.section->position), Key_Text(stored), fault});
    }
  }
}

void CheckSize(const Image& image, Complaints& complaints) {
  std::size_t end = 0;
  for (const StoredField& stored : Image_Fields(image)) {
    end = std::max<std::size_t>(end, stored.address + stored.field->format.size);
  }
  if (end <= image.bytes.size()) return;
  complaints.push_back({static_cast<std::uint32_t>(image.bytes.size()), "", "",
                        Format("the source ends here, %zu bytes early", end - image.bytes.size())});
}

// --- the configuration ---------------------------------------------------------------------------

Complaint ChangeComplaint(const ParameterChange& change, const StoredParameter* stored,
                          bool shows_secrets) {
  const bool is_shown = shows_secrets || !IsSecretPath(change.path);
  Complaint complaint;
  if (stored != nullptr) {
    complaint.address = stored->source.address;
    complaint.section = SectionName_At(stored->source.section->position);
    complaint.key = Key_Text(stored->source);
  }
  complaint.what = change.path + ": " +
                   (change.before ? Quoted(*change.before, is_shown) : "missing") +
                   " in the configuration, " + Quoted(change.after, is_shown) + " here";
  if (change.remark != nullptr) complaint.what += std::string(" (") + change.remark + ")";
  return complaint;
}

void CheckProduct(const Image& image, Complaints& complaints) {
  if (!Image_IsForeign(image)) return;
  const std::string_view own = Slot_Text(product_number);
  complaints.push_back({SECTION_HEADER_SIZE + identification_id.offset, "id", "id",
                        image.product + " here, " + std::string(own.empty() ? "none" : own) +
                            " in the configuration: the next start resets it"});
}

void CheckConfig(const Image& image, const Options& options, Complaints& complaints) {
  CheckProduct(image, complaints);
  const std::vector<StoredParameter> parameters = Image_Parameters(image);
  for (const ParameterChange& change : Apply(image, options.templates)) {
    const auto stored = std::ranges::find_if(parameters, [&change](const StoredParameter& each) {
      return IsPath(each.path, change.path);
    });
    complaints.push_back(
        ChangeComplaint(change, stored == parameters.end() ? nullptr : &*stored, options.secrets));
  }
}

const char* StateFault(ImageState state) {
  switch (state) {
    case ImageState::blank:
      return "the EEPROM is blank";
    case ImageState::test_board:
      return "the I/O board is in the factory's test set-up";
    case ImageState::unfinished:
      return "no finished identification: the next start fills the EEPROM anew";
    case ImageState::filled:
      break;
  }
  return nullptr;
}

std::string ComplaintText(const Complaint& complaint) {
  std::string place = complaint.address ? Format("%04x: ", *complaint.address) : "----: ";
  if (!complaint.section.empty()) place += complaint.section + " " + complaint.key + ": ";
  return place + Painted(Colour::red, Escaped(complaint.what)) + "\n";
}

Json ComplaintJson(const Complaint& complaint) {
  Json json = {{"address", nullptr}};
  if (complaint.address) json["address"] = *complaint.address;
  json["section"] = complaint.section;
  json["key"] = complaint.key;
  json["what"] = complaint.what;
  return json;
}

}  // namespace

int Verify(const Options& options, std::string& out) {
  const Image image = Source_Open(options, options.operands);
  std::optional<WorkingCopy> config;
  if (!options.config.empty()) config.emplace(options.config, Source_Read(options.config));
  Complaints complaints;
  std::size_t reach = 0;
  if (const char* fault = StateFault(image.state)) {
    complaints.push_back({0, "id", "header", fault});
  } else {
    reach = CheckChain(image, complaints);
    CheckSize(image, complaints);
    CheckFields(image, reach, complaints);
    if (config) CheckConfig(image, options, complaints);
  }
  if (options.json) {
    Json json = Json_Head(options.command, image);
    json["sections"] = reach;
    json["findings"] = Json::array();
    for (const Complaint& complaint : complaints)
      json["findings"].push_back(ComplaintJson(complaint));
    out += Json_Text(json);
  } else {
    for (const Complaint& complaint : complaints) out += ComplaintText(complaint);
    out += Format("%zu sections, %zu findings\n", reach, complaints.size());
  }
  return complaints.empty() ? exit_fine : exit_finds;
}
