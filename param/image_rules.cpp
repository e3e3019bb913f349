// SPDX-License-Identifier: MIT
// Rules of the image settings (lvim).
#include "param/rule.h"
#include "sections/image_record.h"

namespace {

constexpr std::size_t autowdr_en_row = 21;
constexpr std::size_t autodn_en_row = 23;

// clang-format off
// Two switches in one byte: flip and mirror, overlay date and title.
constexpr std::array two_switch_rows = {
    EnumRow{0, "off", "off"}, EnumRow{1, "on", "off"}, EnumRow{2, "off", "on"}, EnumRow{3, "on", "on"}};
constexpr std::array white_balance_rows = {
    EnumRow{0, "auto"}, EnumRow{1, "incandescent"}, EnumRow{3, "fluorescent"}, EnumRow{4, "sunny"},
    EnumRow{5, "sun_shade"}, EnumRow{6, "cloudy"}, EnumRow{7, "manual"}, EnumRow{8, "hold"}};
constexpr std::array hold_rows = {EnumRow{0, "hold"}};
constexpr std::array auto_rows = {EnumRow{1, "auto"}};
constexpr std::array mains_frequency_rows = {
    EnumRow{0, "auto", any_text, Way::to_section}, EnumRow{0, "hold", any_text, Way::to_section},
    EnumRow{1, "50"}, EnumRow{2, "60"}};

constexpr Enumeration two_switches    = {.rows = two_switch_rows, .unknown_text = 3, .unknown_number = 3};
constexpr Enumeration white_balance   = {.rows = white_balance_rows};
constexpr Enumeration unless_on_hold  = {.rows = hold_rows, .unknown_text = 1};
constexpr Enumeration if_automatic    = {.rows = auto_rows, .unknown_text = 0};
constexpr Enumeration mains_frequency = {.rows = mains_frequency_rows};
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
void RestoreSwitchedLevel(const Conversion& conversion, std::size_t automatic_row,
                          std::string_view mode_when_on) {
  if (Field_Number(Sibling(conversion, lvim_fields, automatic_row)) != 0) return;
  const std::int32_t level = Field_Signed(conversion.field);
  Slot_SetText(conversion.slots[0], level != 0 ? mode_when_on : "off");
  if (level != 0) Slot_SetNumber(conversion.slots[1], level);
}

void WideDynamicRange_ToConfig(const Conversion& conversion) {
  RestoreSwitchedLevel(conversion, autowdr_en_row, "on");
}

void NoiseReduction_ToConfig(const Conversion& conversion) {
  RestoreSwitchedLevel(conversion, autodn_en_row, "");
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
    FieldRule{.key = "lvim_flip",            .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &two_switches},
    FieldRule{.key = "lvim_videoprofile",    .to_section = FirstProfile_ToSection},
    FieldRule{.key = "lvim_snapshotprofile", .to_section = FirstProfile_ToSection},
    FieldRule{.key = "lvim_ovl_en",          .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &two_switches},
    FieldRule{.key = "lvim_ovl_format",      .to_section = Overlay_ToSection, .to_config = Overlay_ToConfig},
    FieldRule{.key = "lvim_autobr_en",       .to_section = Constant_ToSection, .constant = 0},
    FieldRule{.key = "lvim_brightness",      .to_section = Level_ToSection, .to_config = Level_ToConfig},
    FieldRule{.key = "lvim_autoct_en",       .to_section = Constant_ToSection, .constant = 0},
    FieldRule{.key = "lvim_contrast",        .to_section = Level_ToSection, .to_config = Level_ToConfig},
    FieldRule{.key = "lvim_saturation",      .to_section = Level_ToSection, .to_config = Level_ToConfig},
    FieldRule{.key = "lvim_sharpness",       .to_section = Level_ToSection, .to_config = Level_ToConfig},
    FieldRule{.key = "lvim_whitebalance",    .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &white_balance},
    FieldRule{.key = "lvim_autoex_en",       .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &unless_on_hold},
    FieldRule{.key = "lvim_autoex_freq",     .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &mains_frequency},
    FieldRule{.key = "lvim_autog_en",        .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &unless_on_hold},
    FieldRule{.key = "lvim_autowdr_en",      .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &if_automatic},
    FieldRule{.key = "lvim_wdr",             .to_section = SwitchedLevel_ToSection, .to_config = WideDynamicRange_ToConfig},
    FieldRule{.key = "lvim_autodn_en",       .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &if_automatic},
    FieldRule{.key = "lvim_denoise",         .to_section = SwitchedLevel_ToSection, .to_config = NoiseReduction_ToConfig},
    FieldRule{.key = "lvim_dn_pname_%d",     .to_section = Name_ToSection, .names = lvim_names},
    FieldRule{.key = "lvim_dn_pvalue_14",    .to_section = ThreeJoined_ToSection, .to_config = Joined_ToConfig},
    FieldRule{.key = "lvim_dn_pvalue_15",    .to_section = TwoJoined_ToSection, .to_config = Joined_ToConfig},
};
// clang-format on

}  // namespace

const SectionRules lvim_rules = {4, lvim_table, text_and_16_bit, text_and_16_bit, Text_ToPlainInt};
