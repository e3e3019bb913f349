// SPDX-License-Identifier: MIT
// Rules of recording to the memory card (srin) and to network storage (srex).
#include <algorithm>

#include "param/rule_table.h"
#include "sections/recording_records.h"

namespace {

// clang-format off
constexpr std::array media            = {EnumRow{0, "video"}, EnumRow{1, "snapshot"}};
constexpr std::array if_ns            = {EnumRow{1, "ns"}, UnknownText(0)};
constexpr std::array protocols        = {EnumRow{1, "cifs"}, EnumRow{2, "nfs"}};
constexpr std::array no_password      = {EnumRow{0, "none"}};
// The schedule belongs to one of the two sections, by its server type.
constexpr std::array card_schedule    = {EnumRow{1, "LS", "on"}, UnknownText(0)};
constexpr std::array network_schedule = {EnumRow{1, "NS", "on"}, UnknownText(0)};
// clang-format on

// Profiles count from 0 in the configuration and from 1 in the section.
void Profile_ToSection(const Conversion& conversion) {
  const long long number = Text_ToInt(Slot_Text(conversion.slots[0])) + 1LL;
  std::array<char, 32> profile;
  Text_Format(profile, "Profile%lld", number);
  Field_SetText(conversion.field, profile.data());
}

void Profile_ToConfig(const Conversion& conversion) {
  int number = 0;
  if (Text_ScanInts(Field_Text(conversion.field), "Profile%d", &number) != 1) return;
  Slot_SetNumber(conversion.slots[0], std::int64_t{number} - 1);
}

// A property of the schedule travels with the section whose server type the schedule has.
void Scheduled_ToSection(const Conversion& conversion) {
  if (Slot_Text(conversion.slots[0]) != conversion.rule.owner) return;
  Field_SetText(conversion.field, Slot_Text(conversion.slots[1]));
}

// Removes the leading characters that are in `set`, `most` of them at the most.
void Skip(std::string_view& text, std::string_view set, std::size_t most = SIZE_MAX) {
  const std::size_t length = std::min(text.find_first_not_of(set), text.size());
  text.remove_prefix(std::min(length, most));
}

// Removes a number, or the "*" in its place.
void SkipNumber(std::string_view& text) {
  if (text.starts_with('*')) {
    text.remove_prefix(1);
  } else {
    Skip(text, "0123456789");
  }
}

// Removes what printf(3) reads behind a "%": flags, width, precision, length and one character that
// says what is converted.
void SkipConversion(std::string_view& text) {
  Skip(text, "-+ #0'");
  SkipNumber(text);
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    SkipNumber(text);
  }
  const bool doubled = text.starts_with("hh") || text.starts_with("ll");
  Skip(text, "hlLqjzt", doubled ? 2 : 1);
  Skip(text, text.substr(0, 1), 1);
}

// What the camera's programs have always got back: the text taken as a format without arguments.
// "%%" is "%", every other conversion is nothing.
void RestoreAsFormat(ValueSlot& slot, std::string_view text) {
  std::array<char, 256> plain;
  std::size_t length = 0;
  while (!text.empty()) {
    const char c = text.front();
    text.remove_prefix(1);
    if (c != '%') {
      plain[length++] = c;
    } else if (text.starts_with('%')) {
      plain[length++] = '%';
      text.remove_prefix(1);
    } else {
      SkipConversion(text);
    }
  }
  Slot_SetText(slot, {plain.data(), length});
}

void RestoreScheduled(const Conversion& conversion, std::span<const std::uint8_t> continuous) {
  if (Field_Number(continuous) != 1) return;
  Slot_SetText(conversion.slots[0], conversion.rule.owner);
  RestoreAsFormat(conversion.slots[1], Field_Text(conversion.field));
}

void CardScheduled_ToConfig(const Conversion& conversion) {
  RestoreScheduled(conversion, Sibling(conversion, PlaceOf(SrinRecord, "srin_rec_continuous")));
}

void NetworkScheduled_ToConfig(const Conversion& conversion) {
  RestoreScheduled(conversion, Sibling(conversion, PlaceOf(SrexRecord, "srex_rec_continuous")));
}

// A location is "host:/export" or "//host/share". What a text lacks of it leaves its field alone.
struct Location {
  std::optional<std::string_view> address, path;
};
Location ParseLocation(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon != std::string_view::npos) return {text.substr(0, colon), text.substr(colon + 1)};
  const std::size_t slashes = text.find("//");
  if (slashes == std::string_view::npos) return {};
  text.remove_prefix(slashes + 2);
  const std::size_t share = text.find('/');
  if (share == std::string_view::npos) return {text, std::nullopt};
  return {text.substr(0, share), text.substr(share)};
}

void Address_ToSection(const Conversion& conversion) {
  const auto address = ParseLocation(Slot_Text(conversion.slots[0])).address;
  if (address) Field_SetText(conversion.field, *address);
}

void Path_ToSection(const Conversion& conversion) {
  const auto path = ParseLocation(Slot_Text(conversion.slots[0])).path;
  if (path) Field_SetText(conversion.field, *path);
}

// Address and path both restore the whole location.
void Location_ToConfig(const Conversion& conversion) {
  constexpr std::uint32_t cifs = 1;
  constexpr std::uint32_t nfs = 2;
  const auto type = Field_Number(Sibling(conversion, PlaceOf(SrexRecord, "srex_server_type")));
  if (type != cifs && type != nfs) return;
  const auto address = Field_Text(Sibling(conversion, PlaceOf(SrexRecord, "srex_srv_addr")));
  const auto path = Field_Text(Sibling(conversion, PlaceOf(SrexRecord, "srex_srv_path")));
  Text_Format(conversion.slots[0], type == cifs ? "//%.*s%.*s" : "%.*s:%.*s",
              static_cast<int>(address.size()), address.data(), static_cast<int>(path.size()),
              path.data());
}

void Authentication_ToSection(const Conversion& conversion) {
  const std::string_view password = Slot_Text(conversion.slots[0]);
  Field_SetNumber(conversion.field, password.empty() || password == "none" ? 0 : 1);
}

// A property of the schedule that the section's owner has.
consteval FieldRule Scheduled(const FieldKey& key, Converter to_config, std::string_view owner) {
  return {.key = key, .to_section = Scheduled_ToSection, .to_config = to_config, .owner = owner};
}

// clang-format off
constexpr std::array srin_table = {
    Enum("srin_sdcard_en",          on_off),
    Enum("srin_rec_continuous",     card_schedule),
    Enum("srin_rec_onevent",        on_off),
    Enum("srin_rec_event_media",    media),
    Own("srin_rec_videoprofile",    Profile_ToSection, Profile_ToConfig),
    Own("srin_rec_snapshotprofile", Profile_ToSection, Profile_ToConfig),
    Names("srin_pname_",          srin_extensions),
    Scheduled({"srin_pvalue_", 2},      CardScheduled_ToConfig, "LS"),
    Scheduled({"srin_pvalue_", 3},      CardScheduled_ToConfig, "LS"),
    Scheduled({"srin_pvalue_", 4},      CardScheduled_ToConfig, "LS"),
};

constexpr std::array srex_table = {
    Enum("srex_rec_en",             if_ns),
    Enum("srex_server_type",        protocols),
    Own("srex_srv_addr",            Address_ToSection, Location_ToConfig),
    Own("srex_srv_path",            Path_ToSection, Location_ToConfig),
    FieldRule{.key = "srex_srv_auth", .to_section = Authentication_ToSection,
              .to_config = Enum_ToConfig, .values = no_password, .numbers = 2},
    Enum("srex_rec_continuous",     network_schedule),
    Enum("srex_rec_onevent",        if_ns),
    Enum("srex_rec_event_media",    media),
    Own("srex_rec_videoprofile",    Profile_ToSection, Profile_ToConfig),
    Own("srex_rec_snapshotprofile", Profile_ToSection, Profile_ToConfig),
    Names("srex_pname_",          srex_extensions),
    Scheduled({"srex_pvalue_", 1},      NetworkScheduled_ToConfig, "NS"),
    Scheduled({"srex_pvalue_", 2},      NetworkScheduled_ToConfig, "NS"),
    Scheduled({"srex_pvalue_", 3},      NetworkScheduled_ToConfig, "NS"),
};
// clang-format on

static_assert(IsSound<FaultOf(srin_table, SrinRecord)>());
static_assert(IsSound<FaultOf(srex_table, SrexRecord)>());

}  // namespace

const SectionRules srin_rules = {SectionType::srin, srin_table, text_and_16_bit, text_and_16_bit,
                                 Text_ToInt};
const SectionRules srex_rules = {SectionType::srex, srex_table, all_kinds, all_kinds, Text_ToInt};
