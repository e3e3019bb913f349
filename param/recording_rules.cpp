// SPDX-License-Identifier: MIT
// Rules of recording to the memory card (srin) and to network storage (srex).
#include <algorithm>
#include <cstdio>

#include "param/rule.h"
#include "sections/recording_records.h"

namespace {

// clang-format off
constexpr std::array on_off_rows   = {EnumRow{1, "on"}, EnumRow{0, "off"}};
constexpr std::array media_rows    = {EnumRow{0, "video"}, EnumRow{1, "snapshot"}};
constexpr std::array ns_rows       = {EnumRow{1, "ns"}};
constexpr std::array protocol_rows = {EnumRow{1, "cifs"}, EnumRow{2, "nfs"}};
constexpr std::array password_rows = {EnumRow{0, "none"}};
// The schedule belongs to one of the two sections, by its server type.
constexpr std::array card_schedule_rows    = {EnumRow{1, "LS", "on"}};
constexpr std::array network_schedule_rows = {EnumRow{1, "NS", "on"}};

constexpr Enumeration on_off           = {.rows = on_off_rows, .unknown_text = 0, .unknown_number = 0};
constexpr Enumeration media            = {.rows = media_rows};
constexpr Enumeration if_ns            = {.rows = ns_rows, .unknown_text = 0};
constexpr Enumeration protocols        = {.rows = protocol_rows};
constexpr Enumeration no_password      = {.rows = password_rows};
constexpr Enumeration card_schedule    = {.rows = card_schedule_rows, .unknown_text = 0};
constexpr Enumeration network_schedule = {.rows = network_schedule_rows, .unknown_text = 0};
// clang-format on

constexpr std::size_t srin_continuous_row = 1;
constexpr std::size_t srex_server_type_row = 1;
constexpr std::size_t srex_address_row = 3;
constexpr std::size_t srex_path_row = 4;
constexpr std::size_t srex_continuous_row = 13;

// Profiles count from 0 in the configuration and from 1 in the section.
void Profile_ToSection(const Conversion& conversion) {
  const long long number = Text_ToInt(Slot_Text(conversion.slots[0])) + 1LL;
  std::array<char, 32> profile;
  (void)std::snprintf(profile.data(), profile.size(), "Profile%lld", number);
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

// Removes what printf(3) reads behind a "%": flags, width, precision, length and one character that
// says what is converted.
void SkipSpecification(std::string_view& text) {
  constexpr std::string_view digits = "0123456789";
  Skip(text, "-+ #0'");
  text.starts_with('*') ? Skip(text, "*", 1) : Skip(text, digits);
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    text.starts_with('*') ? Skip(text, "*", 1) : Skip(text, digits);
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
      SkipSpecification(text);
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
  RestoreScheduled(conversion, Sibling(conversion, srin_fields, srin_continuous_row));
}

void NetworkScheduled_ToConfig(const Conversion& conversion) {
  RestoreScheduled(conversion, Sibling(conversion, srex_fields, srex_continuous_row));
}

// A location is "host:/export" or "//host/share".
void Address_ToSection(const Conversion& conversion) {
  const std::string_view location = Slot_Text(conversion.slots[0]);
  const std::size_t colon = location.find(':');
  const std::size_t slashes = location.find("//");
  if (colon != std::string_view::npos) {
    Field_SetText(conversion.field, location.substr(0, colon));
  } else if (slashes != std::string_view::npos) {
    const std::string_view host = location.substr(slashes + 2);
    Field_SetText(conversion.field, host.substr(0, host.find('/')));
  }
}

void Path_ToSection(const Conversion& conversion) {
  const std::string_view location = Slot_Text(conversion.slots[0]);
  const std::size_t colon = location.find(':');
  const std::size_t slashes = location.find("//");
  if (colon != std::string_view::npos) {
    Field_SetText(conversion.field, location.substr(colon + 1));
  } else if (slashes != std::string_view::npos) {
    const std::size_t share = location.find('/', slashes + 2);
    if (share != std::string_view::npos) Field_SetText(conversion.field, location.substr(share));
  }
}

// Address and path both restore the whole location.
void Location_ToConfig(const Conversion& conversion) {
  constexpr std::uint32_t cifs = 1;
  constexpr std::uint32_t nfs = 2;
  const auto type = Field_Number(Sibling(conversion, srex_fields, srex_server_type_row));
  if (type != cifs && type != nfs) return;
  const auto address = Field_Text(Sibling(conversion, srex_fields, srex_address_row));
  const auto path = Field_Text(Sibling(conversion, srex_fields, srex_path_row));
  (void)std::snprintf(conversion.slots[0].data(), conversion.slots[0].size(),
                      type == cifs ? "//%.*s%.*s" : "%.*s:%.*s", static_cast<int>(address.size()),
                      address.data(), static_cast<int>(path.size()), path.data());
}

void Authentication_ToSection(const Conversion& conversion) {
  const std::string_view password = Slot_Text(conversion.slots[0]);
  Field_SetNumber(conversion.field, password.empty() || password == "none" ? 0 : 1);
}

// clang-format off
constexpr std::array srin_table = {
    FieldRule{.key = "srin_sdcard_en",           .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &on_off},
    FieldRule{.key = "srin_rec_continuous",      .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &card_schedule},
    FieldRule{.key = "srin_rec_onevent",         .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &on_off},
    FieldRule{.key = "srin_rec_event_media",     .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &media},
    FieldRule{.key = "srin_rec_videoprofile",    .to_section = Profile_ToSection, .to_config = Profile_ToConfig},
    FieldRule{.key = "srin_rec_snapshotprofile", .to_section = Profile_ToSection, .to_config = Profile_ToConfig},
    FieldRule{.key = "srin_pname_%d",            .to_section = Name_ToSection, .names = srin_names},
    FieldRule{.key = "srin_pvalue_2",            .to_section = Scheduled_ToSection, .to_config = CardScheduled_ToConfig, .owner = "LS"},
    FieldRule{.key = "srin_pvalue_3",            .to_section = Scheduled_ToSection, .to_config = CardScheduled_ToConfig, .owner = "LS"},
    FieldRule{.key = "srin_pvalue_4",            .to_section = Scheduled_ToSection, .to_config = CardScheduled_ToConfig, .owner = "LS"},
};

constexpr std::array srex_table = {
    FieldRule{.key = "srex_rec_en",              .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &if_ns},
    FieldRule{.key = "srex_server_type",         .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &protocols},
    FieldRule{.key = "srex_srv_addr",            .to_section = Address_ToSection, .to_config = Location_ToConfig},
    FieldRule{.key = "srex_srv_path",            .to_section = Path_ToSection, .to_config = Location_ToConfig},
    FieldRule{.key = "srex_srv_auth",            .to_section = Authentication_ToSection, .to_config = Enum_ToConfig, .values = &no_password},
    FieldRule{.key = "srex_rec_continuous",      .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &network_schedule},
    FieldRule{.key = "srex_rec_onevent",         .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &if_ns},
    FieldRule{.key = "srex_rec_event_media",     .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &media},
    FieldRule{.key = "srex_rec_videoprofile",    .to_section = Profile_ToSection, .to_config = Profile_ToConfig},
    FieldRule{.key = "srex_rec_snapshotprofile", .to_section = Profile_ToSection, .to_config = Profile_ToConfig},
    FieldRule{.key = "srex_pname_%d",            .to_section = Name_ToSection, .names = srex_names},
    FieldRule{.key = "srex_pvalue_1",            .to_section = Scheduled_ToSection, .to_config = NetworkScheduled_ToConfig, .owner = "NS"},
    FieldRule{.key = "srex_pvalue_2",            .to_section = Scheduled_ToSection, .to_config = NetworkScheduled_ToConfig, .owner = "NS"},
    FieldRule{.key = "srex_pvalue_3",            .to_section = Scheduled_ToSection, .to_config = NetworkScheduled_ToConfig, .owner = "NS"},
};
// clang-format on

}  // namespace

const SectionRules srin_rules = {9, srin_table, text_and_16_bit, text_and_16_bit, Text_ToPlainInt};
const SectionRules srex_rules = {10, srex_table, all_kinds, all_kinds, Text_ToPlainInt};
