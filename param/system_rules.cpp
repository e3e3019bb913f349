// SPDX-License-Identifier: MIT
// Rules of date and time (ssdt), users (sssc) and network (ssnt).
#include <algorithm>

#include "param/base64.h"
#include "param/rule.h"
#include "param/time_zones.h"
#include "sections/system_records.h"

namespace {

// clang-format off
constexpr std::array date_format_rows = {EnumRow{0, "ymd"}, EnumRow{1, "mdy"}, EnumRow{2, "dmy"}};
constexpr std::array ntp_rows         = {EnumRow{1, "NTP"}, EnumRow{0, "Done"}};
constexpr std::array dhcp_rows        = {EnumRow{1, "dhcp"}, EnumRow{0, "none"}};
constexpr std::array on_off_rows      = {EnumRow{1, "on"}, EnumRow{0, "off"}};

constexpr Enumeration date_formats = {.rows = date_format_rows, .unknown_text = 2, .unknown_number = 2};
constexpr Enumeration ntp_switch   = {.rows = ntp_rows,         .unknown_text = 0, .unknown_number = 0};
constexpr Enumeration dhcp_switch  = {.rows = dhcp_rows,        .unknown_text = 0, .unknown_number = 0};
constexpr Enumeration on_off       = {.rows = on_off_rows,      .unknown_text = 0, .unknown_number = 0};
// clang-format on

void TimeZone_ToSection(const Conversion& conversion) {
  const std::string_view value = Slot_Text(conversion.slots[0]);
  if (value.find('/') != std::string_view::npos) {
    Field_SetText(conversion.field, TimeZone_Name(value));
  }
}

void TimeZone_ToConfig(const Conversion& conversion) {
  Slot_SetText(conversion.slots[0], TimeZone_DisplayText(Field_Text(conversion.field)));
}

// An account value is the base64 text of "name:password"; a user's is followed by "," and flags, of
// which one tells the user's group.
struct GroupFlags {
  std::string_view text;
  std::size_t telltale;  // the flag that is "1" for this group; looked at in the table's order
};
constexpr std::array<GroupFlags, 3> groups = {{{"01000001", 1}, {"00010001", 3}, {"00000100", 5}}};

// User 1 is the administrator, whose value has no flags.
constexpr int administrator = 1;

using AccountText = std::array<char, 128>;

// The decoded account; a NUL in it ends it. A slot's text is far too short to fill the buffer.
std::string_view DecodeAccount(const Conversion& conversion, AccountText& decoded) {
  std::string_view value = Slot_Text(conversion.slots[0]);
  if (conversion.number != administrator) value = value.substr(0, value.find(','));
  (void)Param_Base64Decode(decoded, value);
  return decoded.data();
}

void UserName_ToSection(const Conversion& conversion) {
  AccountText decoded;
  const std::string_view account = DecodeAccount(conversion, decoded);
  Field_SetText(conversion.field, account.substr(0, account.find(':')));
}

void Password_ToSection(const Conversion& conversion) {
  AccountText decoded;
  const std::string_view account = DecodeAccount(conversion, decoded);
  const std::size_t colon = account.find(':');
  if (colon == std::string_view::npos || colon + 1 == account.size()) return;
  Field_SetText(conversion.field, account.substr(colon + 1));
}

void Group_ToSection(const Conversion& conversion) {
  std::string_view value = Slot_Text(conversion.slots[0]);
  const std::size_t comma = value.find(',');
  if (comma == std::string_view::npos) return;
  value.remove_prefix(comma + 1);
  const std::string_view flags = value.substr(0, value.find(','));
  const auto* group = std::ranges::find_if(groups, [flags](const GroupFlags& each) {
    return each.telltale < flags.size() && flags[each.telltale] == '1';
  });
  if (group == groups.end()) return;
  Field_SetNumber(conversion.field, static_cast<std::uint32_t>(group - groups.begin()));
}

// Name, ":" and password of a user, counted from 0, as base64 text. Returns the text's length.
std::size_t EncodeAccount(const Conversion& conversion, std::size_t user, ValueSlot& encoded) {
  const std::string_view name = Field_Text(Sibling(conversion, sssc_fields, user));
  const std::string_view password = Field_Text(Sibling(conversion, sssc_fields, sssc_users + user));
  std::array<std::uint8_t, 65> account;  // two fields without terminators, and the colon
  auto* end = std::copy(name.begin(), name.end(), account.begin());
  *end++ = ':';
  end = std::copy(password.begin(), password.end(), end);
  return Param_Base64Encode({account.begin(), end}, encoded);
}

// The three rows of a user all restore the same value, with the flags of the user's group behind
// it.
void Account_ToConfig(const Conversion& conversion) {
  const int number = conversion.number;
  if (number < 1 || number > static_cast<int>(sssc_users)) return;
  const auto user = static_cast<std::size_t>(number) - 1;
  ValueSlot value;
  std::size_t length = EncodeAccount(conversion, user, value);
  if (number != administrator) {
    const auto group = Field_Number(Sibling(conversion, sssc_fields, 2 * sssc_users + user));
    const auto flags = group < groups.size() ? groups[group].text : std::string_view();
    value[length++] = ',';
    length += flags.copy(&value[length], value.size() - length);
  }
  Slot_SetText(conversion.slots[0], {value.data(), length});
}

// clang-format off
constexpr std::array ssdt_table = {
    FieldRule{.key = "ssdt_format",      .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &date_formats},
    FieldRule{.key = "ssdt_ntp_en",      .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &ntp_switch},
    FieldRule{.key = "ssdt_ntp_addr_%d", .to_section = Text_ToSection, .to_config = Text_ToConfig},
    FieldRule{.key = "ssdt_timezone",    .to_section = TimeZone_ToSection, .to_config = TimeZone_ToConfig},
};

constexpr std::array sssc_table = {
    FieldRule{.key = "sssc_group_1",     .to_section = Constant_ToSection, .constant = 0},
    FieldRule{.key = "sssc_username_%d", .to_section = UserName_ToSection, .to_config = Account_ToConfig},
    FieldRule{.key = "sssc_password_%d", .to_section = Password_ToSection, .to_config = Account_ToConfig},
    FieldRule{.key = "sssc_group_%d",    .to_section = Group_ToSection,    .to_config = Account_ToConfig},
};

constexpr std::array ssnt_table = {
    FieldRule{.key = "ssnt_dhcp_en",     .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &dhcp_switch},
    FieldRule{.key = "ssnt_dns_auto",    .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &on_off},
    FieldRule{.key = "ssnt_pname_%d",    .to_section = Name_ToSection, .names = ssnt_names},
};
// clang-format on

}  // namespace

const SectionRules ssdt_rules = {1, ssdt_table, no_kinds, no_kinds, Text_ToPlainInt};
const SectionRules sssc_rules = {2, sssc_table, no_kinds, no_kinds, Text_ToPlainInt};
const SectionRules ssnt_rules = {3, ssnt_table, text_and_u16, text_and_16_bit, Text_ToPlainInt};
