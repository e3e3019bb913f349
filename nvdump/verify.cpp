// SPDX-License-Identifier: MIT
// What the daemon relies on and does not notice by itself: verify.
#include <algorithm>

#include "eeprom/backup.h"
#include "nvdump/apply.h"
#include "nvdump/options.h"
#include "nvdump/output.h"
#include "nvdump/source.h"
#include "nvdump/text.h"
#include "param/conversion.h"
#include "sections/section.h"

namespace {

struct Complaint {
  std::optional<std::uint32_t> address;
  std::string section;
  std::string key;
  std::string what;
};
using Findings = std::vector<Complaint>;

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

std::string HeaderFault(const SectionRecord& record, SectionType expected) {
  if (Section_PayloadSize(record.type) == 0) {
    return Format("unknown type %u", static_cast<unsigned>(record.type));
  }
  if (record.type != expected) {
    return Format("type %u where %u belongs", static_cast<unsigned>(record.type),
                  static_cast<unsigned>(expected));
  }
  if (record.version != section_version) return Format("version %u", record.version);
  return {};
}

void Add(Findings& findings, const StoredSection& section, const std::string& what) {
  findings.push_back({section.record.address, SectionName_At(section.position), "header", what});
}

void AddEnd(Findings& findings, const StoredSection& section, const std::string& why,
            std::size_t first_lost) {
  Add(findings, section,
      Format("the chain ends at %04x: %s; %zu sections out of reach", section.record.address,
             why.c_str(), chain_sections - first_lost));
}

// Where the chain goes from a section whose next address is another than it should be. Returns
// whether it goes on.
bool FollowLink(const Image& image, const StoredSection& section, Findings& findings) {
  const std::uint32_t next = section.record.next_address;
  const std::size_t position = section.position + 1;
  if (position >= chain_sections) {
    Add(findings, section, Format("next address %04x behind the last section", next));
    return false;
  }
  if (next == 0) return AddEnd(findings, section, "next address 0", position), false;
  const std::string link = Format("next address %04x ", next);
  if (position >= image.sections.size()) {
    const char* where = image.end == ChainStep::loop ? "leads back" : "leads out of the image";
    return AddEnd(findings, section, link + where, position), false;
  }
  const SectionType following = image.sections[position].record.type;
  if (following != Map_At(position).type) {
    const std::string what = Section_PayloadSize(following) == 0
                                 ? "leads to no section"
                                 : Format("leads to type %u", static_cast<unsigned>(following));
    return AddEnd(findings, section, link + what, position), false;
  }
  Add(findings, section, link + Format("where %04x belongs", ExpectedNext(section)));
  return true;
}

// Returns how many sections are in reach.
std::size_t CheckChain(const Image& image, Findings& findings) {
  for (const StoredSection& section : image.sections) {
    const std::string fault = HeaderFault(section.record, Map_At(section.position).type);
    if (IsLost(section)) {
      AddEnd(findings, section, fault, section.position);
      return section.position;
    }
    if (!fault.empty()) Add(findings, section, fault);
    const bool goes_on = LeadsOn(section) || FollowLink(image, section, findings);
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

std::string ContentFault(const StoredField& stored) {
  const auto& [key, format, paths] = *stored.field;
  if (format.kind == MAP_TEXT) {
    const std::string fault = TextFault(stored);
    return fault.empty() && !IsReadable(stored) ? "no UTF-8" : fault;
  }
  if (stored.section->record.type == SectionType::identification) return {};
  const std::int32_t number = Field_Signed(Field_Bytes(stored));
  if (Param_KnowsNumber(stored.section->record.type, key, number)) return {};
  return Format("no rule knows the number %d", number);
}

// What a field that no parameter feeds holds in every image; names of values among them.
std::string ConstantFault(const StoredField& stored) {
  SectionRecord expected;
  expected.type = stored.section->record.type;
  if (!stored.field->paths.empty() || expected.type == SectionType::identification) return {};
  (void)Section_Prepare(expected);
  Image_ConvertRows(Map_At(stored.section->position), expected, nullptr);
  const auto right = Section_Field(expected, stored.offset, stored.field->format.size);
  const auto bytes = Field_Bytes(stored);
  if (std::ranges::equal(bytes, right)) return {};
  if (stored.field->format.kind != MAP_TEXT) {
    return Format("%u where %u belongs", Field_Number(bytes), Field_Number(right));
  }
  return Quoted(Field_Text(bytes), !stored.is_secret) + " where " +
         Quoted(Field_Text(right), true) + " belongs";
}

void CheckFields(const Image& image, std::size_t reach, Findings& findings) {
  for (const StoredField& stored : Image_Fields(image)) {
    const SectionRecord& record = stored.section->record;
    const bool is_whole = stored.address + stored.field->format.size <= image.bytes.size();
    const bool is_in_place = record.type == Map_At(stored.section->position).type;
    if (stored.section->position >= reach || !is_whole || !is_in_place) continue;
    for (const std::string& fault : {ContentFault(stored), ConstantFault(stored)}) {
      if (fault.empty()) continue;
      findings.push_back({stored.address, SectionName_At(stored.section->position),
                          std::string(stored.field->key), fault});
    }
  }
}

void CheckSize(const Image& image, Findings& findings) {
  std::size_t end = 0;
  for (const StoredField& stored : Image_Fields(image)) {
    end = std::max<std::size_t>(end, stored.address + stored.field->format.size);
  }
  if (end <= image.bytes.size()) return;
  findings.push_back({static_cast<std::uint32_t>(image.bytes.size()), "", "",
                      Format("the source ends here, %zu bytes early", end - image.bytes.size())});
}

// --- the configuration ---------------------------------------------------------------------------

void CheckConfig(const Image& image, const Options& options, Findings& findings) {
  const ConfigFile config = Source_OpenConfig(options.config);
  const std::vector<StoredParameter> parameters = Image_Parameters(image);
  for (const auto& [path, before, after, remark] : Apply(image, config, options.templates)) {
    const bool is_shown = options.secrets || !IsSecretPath(path);
    const auto stored = std::ranges::find_if(
        parameters, [&](const StoredParameter& each) { return IsPath(each.path, path); });
    Complaint finding;
    if (stored != parameters.end()) {
      finding.address = stored->source.address;
      finding.section = SectionName_At(stored->source.section->position);
      finding.key = stored->source.field->key;
    }
    finding.what = path + ": " + (before ? Quoted(*before, is_shown) : "missing") +
                   " in the configuration, " + Quoted(after, is_shown) + " here";
    if (remark != nullptr) finding.what += std::string(" (") + remark + ")";
    findings.push_back(finding);
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

std::string ComplaintText(const Complaint& finding) {
  std::string place = finding.address ? Format("%04x: ", *finding.address) : "----: ";
  if (!finding.section.empty()) place += finding.section + " " + finding.key + ": ";
  return place + Painted(Colour::red, Escaped(finding.what)) + "\n";
}

Json ComplaintJson(const Complaint& finding) {
  Json json = {{"address", nullptr}};
  if (finding.address) json["address"] = *finding.address;
  json["section"] = finding.section;
  json["key"] = finding.key;
  json["what"] = finding.what;
  return json;
}

}  // namespace

int Verify(const Options& options, std::string& out) {
  const Image image = Source_Open(options, options.operands);
  Findings findings;
  std::size_t reach = 0;
  if (const char* fault = StateFault(image.state)) {
    findings.push_back({0, "id", "header", fault});
  } else {
    reach = CheckChain(image, findings);
    CheckSize(image, findings);
    CheckFields(image, reach, findings);
    if (!options.config.empty()) CheckConfig(image, options, findings);
  }
  if (options.json) {
    Json json = Json_Head(options.command, image);
    json["sections"] = reach;
    json["findings"] = Json::array();
    for (const Complaint& finding : findings) json["findings"].push_back(ComplaintJson(finding));
    out += Json_Text(json);
  } else {
    for (const Complaint& finding : findings) out += ComplaintText(finding);
    out += Format("%zu sections, %zu findings\n", reach, findings.size());
  }
  return findings.empty() ? exit_fine : exit_finds;
}
