// SPDX-License-Identifier: MIT
// Rules of the image settings (lvim).
#include "param/rule_table.h"
#include "sections/image_record.h"

namespace {

// clang-format off
// Two switches in one byte: flip and mirror, overlay date and title.
constexpr std::array two_switches = {
    EnumRow{0, "off", "off"}, EnumRow{1, "on", "off"}, EnumRow{2, "off", "on"},
    EnumRow{3, "on", "on"}, UnknownText(3), UnknownNumber("on", "on")};
constexpr std::array white_balance = {
    EnumRow{0, "auto"}, EnumRow{1, "incandescent"}, EnumRow{3, "fluorescent"}, EnumRow{4, "sunny"},
    EnumRow{5, "sun_shade"}, EnumRow{6, "cloudy"}, EnumRow{7, "manual"}, EnumRow{8, "hold"}};
constexpr std::array unless_on_hold = {EnumRow{0, "hold"}, UnknownText(1)};
constexpr std::array mains_frequency = {
    EnumRow{.number = 0, .text = "auto", .use = RowUse::to_section},
    EnumRow{.number = 0, .text = "hold", .use = RowUse::to_section},
    EnumRow{1, "50"}, EnumRow{2, "60"}};
// clang-format on

void FirstProfile_ToSection(const Conversion& conversion) {
  Field_SetText(conversion.field, "Profile1");
}

// 0 to 100 in the configuration, -100 to 100 in the section.
void Level_ToSection(const Conversion& conversion) {
  const int value = Text_ToInt(Slot_Text(conversion.slots[0]));
  const auto level = static_cast<std::int16_t>(static_cast<std::uint16_t>(value & 0xFFFF));
  Field_SetNumber(conversion.field, static_cast<std::uint32_t>(level * 2 - 100));
}

void Level_ToConfig(const Conversion& conversion) {
  Slot_SetNumber(conversion.slots[0], (Field_Signed(conversion.field) + 100) / 2);
}

// The overlay's text and, as "%T", its date.
void Overlay_ToSection(const Conversion& conversion) {
  const auto& [alias, title, date] = conversion.slots;
  const bool with_date = Slot_Text(date) == "on";
  if (Slot_Text(title) == "on") {
    std::array<char, 132> text{};
    const std::size_t length = Slot_Text(alias).copy(text.data(), text.size());
    const std::size_t end =
        length + std::string_view(with_date ? " %T" : "").copy(&text[length], 3);
    Field_SetText(conversion.field, {text.data(), end});
  } else if (with_date) {
    Field_SetText(conversion.field, "%T");
  }
}

// The title comes back up to its first blank, "%" or "T".
void Overlay_ToConfig(const Conversion& conversion) {
  constexpr std::string_view delimiters = " %T";
  constexpr std::string_view date_mark = "%T";
  auto& [alias, title, date] = conversion.slots;
  std::string_view text = Field_Text(conversion.field);
  Slot_SetText(date, text.find(date_mark) != std::string_view::npos ? "on" : "off");
  if (text.empty() || text.starts_with(date_mark)) {
    Slot_SetText(title, "off");
    return;
  }
  Slot_SetText(title, "on");
  text.remove_prefix(std::min(text.find_first_not_of(delimiters), text.size()));
  Slot_SetText(alias, text.substr(0, text.find_first_of(delimiters)));
}

// Slot 0 is a mode, slot 1 the level that counts unless the mode is "off".
void SwitchedLevel_ToSection(const Conversion& conversion) {
  const auto& [mode, level, unused] = conversion.slots;
  const int value = Slot_Text(mode) == "off" ? 0 : Text_ToInt(Slot_Text(level));
  Field_SetNumber(conversion.field, static_cast<std::uint32_t>(value));
}

// A level counts only while its automatic mode is off; a level other than 0 restores
// `mode_when_on`.
void RestoreSwitchedLevel(const Conversion& conversion, FieldPlace automatic,
                          std::string_view mode_when_on) {
  if (Field_Number(Sibling(conversion, automatic)) != 0) return;
  const std::int32_t level = Field_Signed(conversion.field);
  Slot_SetText(conversion.slots[0], level != 0 ? mode_when_on : "off");
  if (level != 0) Slot_SetNumber(conversion.slots[1], level);
}

void WideDynamicRange_ToConfig(const Conversion& conversion) {
  RestoreSwitchedLevel(conversion, PlaceOf(LvimRecord, "lvim_autowdr_en"), "on");
}

void NoiseReduction_ToConfig(const Conversion& conversion) {
  RestoreSwitchedLevel(conversion, PlaceOf(LvimRecord, "lvim_autodn_en"), "");
}

// Several parameters in one text, separated by ","; an empty one keeps its place.
void Joined_ToSection(const Conversion& conversion, std::size_t count) {
  std::array<char, sizeof(ValueSlots)> text;
  std::size_t length = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) text[length++] = ',';
    length += Slot_Text(conversion.slots[i]).copy(&text[length], text.size() - length);
  }
  Field_SetText(conversion.field, {text.data(), length});
}

void TwoJoined_ToSection(const Conversion& conversion) { Joined_ToSection(conversion, 2); }

void ThreeJoined_ToSection(const Conversion& conversion) { Joined_ToSection(conversion, 3); }

void Joined_ToConfig(const Conversion& conversion) {
  std::string_view text = Field_Text(conversion.field);
  for (ValueSlot& slot : conversion.slots) {
    const std::string_view part = text.substr(0, text.find(','));
    Slot_SetText(slot, part);
    text.remove_prefix(std::min(part.size() + 1, text.size()));
  }
}

// clang-format off
constexpr std::array lvim_table = {
    Enum("lvim_flip",           two_switches),
    Own("lvim_videoprofile",    FirstProfile_ToSection, nullptr),
    Own("lvim_snapshotprofile", FirstProfile_ToSection, nullptr),
    Enum("lvim_ovl_en",         two_switches),
    Own("lvim_ovl_format",      Overlay_ToSection, Overlay_ToConfig),
    Constant("lvim_autobr_en",  0),
    Own("lvim_brightness",      Level_ToSection, Level_ToConfig),
    Constant("lvim_autoct_en",  0),
    Own("lvim_contrast",        Level_ToSection, Level_ToConfig),
    Own("lvim_saturation",      Level_ToSection, Level_ToConfig),
    Own("lvim_sharpness",       Level_ToSection, Level_ToConfig),
    Enum("lvim_whitebalance",   white_balance),
    Enum("lvim_autoex_en",      unless_on_hold),
    Enum("lvim_autoex_freq",    mains_frequency),
    Enum("lvim_autog_en",       unless_on_hold),
    Enum("lvim_autowdr_en",     if_automatic),
    Own("lvim_wdr",             SwitchedLevel_ToSection, WideDynamicRange_ToConfig),
    Enum("lvim_autodn_en",      if_automatic),
    Own("lvim_denoise",         SwitchedLevel_ToSection, NoiseReduction_ToConfig),
    Names("lvim_dn_pname_",   lvim_extensions),
    Own({"lvim_dn_pvalue_", 14},    ThreeJoined_ToSection, Joined_ToConfig),
    Own({"lvim_dn_pvalue_", 15},    TwoJoined_ToSection, Joined_ToConfig),
};
// clang-format on

static_assert(IsSound<FaultOf(lvim_table, LvimRecord)>());

}  // namespace

const SectionRules lvim_rules = {SectionType::lvim, lvim_table, text_and_16_bit, text_and_16_bit,
                                 Text_ToInt};
