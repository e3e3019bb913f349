// SPDX-License-Identifier: MIT
// Rules of the lens (lvln), audio (lvad) and day/night switching (lvdn).
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "param/rule.h"
#include "sections/device_records.h"

namespace {

// clang-format off
constexpr std::array motorized_rows = {EnumRow{1, "motorized"}};
constexpr std::array auto_rows      = {EnumRow{1, "auto"}};
constexpr std::array encoding_rows  = {EnumRow{0, "AAC"}, EnumRow{1, "AMR"}, EnumRow{2, "g.711_u-law"},
                                       EnumRow{3, "g.711_a-law"}, EnumRow{4, "g.726"}};
constexpr std::array denoise_rows   = {EnumRow{100, "high"}, EnumRow{50, "low"}, EnumRow{0, "off"}};
constexpr std::array input_rows     = {EnumRow{1, "linein"}, EnumRow{2, "micin"}};
constexpr std::array output_rows    = {EnumRow{1, "lineout"}, EnumRow{2, "speaker"}};
// "on" and "off" have opposite numbers in the next two.
constexpr std::array day_night_rows = {EnumRow{1, "off"}, EnumRow{2, "on"}, EnumRow{3, "schedule"}, EnumRow{0, "auto"}};
constexpr std::array ir_led_rows    = {EnumRow{0, "auto"}, EnumRow{1, "on"}, EnumRow{2, "off"}, EnumRow{3, "schedule"}};

constexpr Enumeration if_motorized = {.rows = motorized_rows, .unknown_text = 0};
constexpr Enumeration if_automatic = {.rows = auto_rows,      .unknown_text = 0};
constexpr Enumeration encodings    = {.rows = encoding_rows};
constexpr Enumeration denoise      = {.rows = denoise_rows,   .unknown_text = 0, .unknown_number = 0};
constexpr Enumeration inputs       = {.rows = input_rows,     .unknown_number = 2};
constexpr Enumeration outputs      = {.rows = output_rows};
constexpr Enumeration day_night    = {.rows = day_night_rows, .unknown_text = 0, .unknown_number = 0};
constexpr Enumeration ir_led       = {.rows = ir_led_rows};
// clang-format on

constexpr std::size_t autoir_en_row = 3;
constexpr std::int32_t iris_open = 10000;

void Iris_ToSection(const Conversion& conversion) {
  const auto& [type, value, unused] = conversion.slots;
  const int iris = Slot_Text(type) == "open" ? iris_open : Text_ToInt(Slot_Text(value));
  Field_SetNumber(conversion.field, static_cast<std::uint32_t>(iris));
}

void Iris_ToConfig(const Conversion& conversion) {
  if (Field_Number(Sibling(conversion, lvln_fields, autoir_en_row)) != 0) return;
  const std::int32_t iris = Field_Signed(conversion.field);
  Slot_SetText(conversion.slots[0], iris == iris_open ? "open" : "manual");
  if (iris != iris_open) Slot_SetNumber(conversion.slots[1], iris);
}

// A position of 0 was never taken; it is not restored.
void LensPosition_ToConfig(const Conversion& conversion) {
  const std::int32_t position = Field_Signed(conversion.field);
  if (position != 0) Slot_SetNumber(conversion.slots[0], position);
}

// -1 means "not set" in the lens configuration.
int LensNumber(std::string_view text) {
  const int value = Text_ToInt(text);
  return value == -1 ? 0 : value;
}

int GainNumber(std::string_view text) { return text == "mute" ? -1 : Text_ToInt(text); }

// "8k" in the configuration, 8000 in the section; the "k" may be missing.
void Sampling_ToSection(const Conversion& conversion) {
  const char* text = conversion.slots[0].data();
  char* end = nullptr;
  const float hertz = std::trunc(std::strtof(text, &end) * 1000.0F);
  constexpr float largest = std::numeric_limits<std::uint16_t>::max();
  if (end != text && hertz >= 0.0F && hertz <= largest) {
    Field_SetNumber(conversion.field, static_cast<std::uint32_t>(hertz));
  }
}

void Sampling_ToConfig(const Conversion& conversion) {
  (void)std::snprintf(conversion.slots[0].data(), conversion.slots[0].size(), "%gk",
                      Field_Number(conversion.field) / 1000.0);
}

// An unknown source is taken for the microphone, in the section as well.
void InputSource_ToConfig(const Conversion& conversion) {
  Enum_ToConfig(conversion);
  if (Field_Number(conversion.field) != 1) Field_SetNumber(conversion.field, 2);
}

// clang-format off
constexpr std::array lvln_table = {
    FieldRule{.key = "lvln_autofc_en", .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &if_motorized},
    FieldRule{.key = "lvln_focus",     .to_config = LensPosition_ToConfig},
    FieldRule{.key = "lvln_autoir_en", .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &if_automatic},
    FieldRule{.key = "lvln_iris",      .to_section = Iris_ToSection, .to_config = Iris_ToConfig},
    FieldRule{.key = "lvln_zoom",      .to_config = LensPosition_ToConfig},
    FieldRule{.key = "lvln_pname_%d",  .to_section = Name_ToSection, .names = lvln_names},
};

constexpr std::array lvad_table = {
    FieldRule{.key = "lvad_encoding",  .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &encodings},
    FieldRule{.key = "lvad_sampling",  .to_section = Sampling_ToSection, .to_config = Sampling_ToConfig},
    FieldRule{.key = "lvad_denoise",   .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &denoise},
    FieldRule{.key = "lvad_insource",  .to_section = Enum_ToSection, .to_config = InputSource_ToConfig, .values = &inputs},
    FieldRule{.key = "lvad_outsink",   .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &outputs},
    FieldRule{.key = "lvad_pname_%d",  .to_section = Name_ToSection, .names = lvad_names},
};

constexpr std::array lvdn_table = {
    FieldRule{.key = "lvdn_autodn_en",   .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &if_automatic},
    FieldRule{.key = "lvdn_daynight",    .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &day_night},
    FieldRule{.key = "lvdn_irled",       .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &ir_led},
    FieldRule{.key = "lvdn_ir_pname_%d", .to_section = Name_ToSection, .names = lvdn_names},
};
// clang-format on

}  // namespace

const SectionRules lvln_rules = {5, lvln_table, text_and_16_bit, text_and_16_bit, LensNumber};
const SectionRules lvad_rules = {6, lvad_table, text_and_16_bit, text_and_16_bit, GainNumber};
const SectionRules lvdn_rules = {7, lvdn_table, text_and_16_bit, text_and_16_bit, Text_ToPlainInt};
