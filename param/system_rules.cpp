// SPDX-License-Identifier: MIT
// Rules of date and time (ssdt), users (sssc) and network (ssnt).
#include <algorithm>

#include "param/base64.h"
#include "param/rule_table.h"
#include "param/time_zones.h"
#include "sections/system_records.h"

namespace {

// clang-format off
constexpr std::array date_formats = {EnumRow{0, "ymd"}, EnumRow{1, "mdy"}, EnumRow{2, "dmy"},
                                     UnknownText(2), UnknownNumber("dmy")};
constexpr std::array ntp_switch   = {EnumRow{1, "NTP"}, EnumRow{0, "Done"},
                                     UnknownText(0), UnknownNumber("Done")};
constexpr std::array dhcp_switch  = {EnumRow{1, "dhcp"}, EnumRow{0, "none"},
                                     UnknownText(0), UnknownNumber("none")};
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

// Where the parts of the users' accounts lie, in the users' order.
struct AccountPlaces {
  FieldPlace name, password, group;
};
consteval AccountPlaces PlacesOf(unsigned user) {
  return {PlaceOf(SsscRecord, {"sssc_username_", user}),
          PlaceOf(SsscRecord, {"sssc_password_", user}),
          PlaceOf(SsscRecord, {"sssc_group_", user})};
}
constexpr std::array account_places = {PlacesOf(1), PlacesOf(2), PlacesOf(3), PlacesOf(4),
                                       PlacesOf(5)};
static_assert(SsscRecord.size() == 3 * account_places.size());

// User 1 is the administrator, whose value has no flags.
constexpr unsigned administrator = 1;

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
  if (conversion.number == administrator) return Field_SetNumber(conversion.field, 0);
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

// Name, ":" and password as base64 text. Returns the text's length.
std::size_t EncodeAccount(const Conversion& conversion, const AccountPlaces& places,
                          ValueSlot& encoded) {
  const std::string_view name = Field_Text(Sibling(conversion, places.name));
  const std::string_view password = Field_Text(Sibling(conversion, places.password));
  std::array<std::uint8_t, 65> account;  // two fields without terminators, and the colon
  auto* end = std::copy(name.begin(), name.end(), account.begin());
  *end++ = ':';
  end = std::copy(password.begin(), password.end(), end);
  return Param_Base64Encode({account.begin(), end}, encoded);
}

// The three rows of a user all restore the same value, with the flags of the user's group behind
// it.
void Account_ToConfig(const Conversion& conversion) {
  const AccountPlaces& places = account_places[conversion.number - 1];
  ValueSlot value;
  std::size_t length = EncodeAccount(conversion, places, value);
  if (conversion.number != administrator) {
    const auto group = Field_Number(Sibling(conversion, places.group));
    const auto flags = group < groups.size() ? groups[group].text : std::string_view();
    value[length++] = ',';
    length += flags.copy(&value[length], value.size() - length);
  }
  Slot_SetText(conversion.slots[0], {value.data(), length});
}

// clang-format off
constexpr std::array ssdt_table = {
    Enum("ssdt_format",     date_formats),
    Enum("ssdt_ntp_en",     ntp_switch),
    Own("ssdt_ntp_addr_", Text_ToSection, Text_ToConfig),
    Own("ssdt_timezone",    TimeZone_ToSection, TimeZone_ToConfig),
};

constexpr std::array sssc_table = {
    Own("sssc_username_", UserName_ToSection, Account_ToConfig),
    Own("sssc_password_", Password_ToSection, Account_ToConfig),
    FieldRule{.key = "sssc_group_", .to_section = Group_ToSection, .to_config = Account_ToConfig,
              .numbers = groups.size()},
};

constexpr std::array ssnt_table = {
    Enum("ssnt_dhcp_en",   dhcp_switch),
    Enum("ssnt_dns_auto",  on_off),
    Names("ssnt_pname_", ssnt_extensions),
};
// clang-format on

static_assert(IsSound<FaultOf(ssdt_table, SsdtRecord)>());
static_assert(IsSound<FaultOf(sssc_table, SsscRecord)>());
static_assert(IsSound<FaultOf(ssnt_table, SsntRecord)>());

}  // namespace

const SectionRules ssdt_rules = {SectionType::ssdt, ssdt_table, no_kinds, no_kinds, Text_ToInt};
const SectionRules sssc_rules = {SectionType::sssc, sssc_table, no_kinds, no_kinds, Text_ToInt};
const SectionRules ssnt_rules = {SectionType::ssnt, ssnt_table, text_and_u16, text_and_16_bit,
                                 Text_ToInt};
