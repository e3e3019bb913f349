// SPDX-License-Identifier: MIT
// Rules of the lens (lvln), audio (lvad) and day/night switching (lvdn).
#include <cmath>
#include <cstdlib>
#include <limits>

#include "param/rule_table.h"
#include "sections/device_records.h"

namespace {

// clang-format off
constexpr std::array if_motorized = {EnumRow{1, "motorized"}, UnknownText(0)};
constexpr std::array encodings    = {EnumRow{0, "AAC"}, EnumRow{1, "AMR"},
                                     EnumRow{2, "g.711_u-law"}, EnumRow{3, "g.711_a-law"},
                                     EnumRow{4, "g.726"}};
constexpr std::array denoise      = {EnumRow{100, "high"}, EnumRow{50, "low"}, EnumRow{0, "off"},
                                     UnknownText(0), UnknownNumber("off")};
constexpr std::array inputs       = {EnumRow{1, "linein"}, EnumRow{2, "micin"},
                                     UnknownNumber("micin")};
constexpr std::array outputs      = {EnumRow{1, "lineout"}, EnumRow{2, "speaker"}};
// "on" and "off" have opposite numbers in the next two.
constexpr std::array day_night    = {EnumRow{1, "off"}, EnumRow{2, "on"}, EnumRow{3, "schedule"},
                                     EnumRow{0, "auto"}, UnknownText(0), UnknownNumber("auto")};
constexpr std::array ir_led       = {EnumRow{0, "auto"}, EnumRow{1, "on"}, EnumRow{2, "off"},
                                     EnumRow{3, "schedule"}};
// clang-format on

constexpr std::int32_t iris_open = 10000;

void Iris_ToSection(const Conversion& conversion) {
  const auto& [type, value, unused] = conversion.slots;
  const int iris = Slot_Text(type) == "open" ? iris_open : Text_ToInt(Slot_Text(value));
  Field_SetNumber(conversion.field, static_cast<std::uint32_t>(iris));
}

void Iris_ToConfig(const Conversion& conversion) {
  if (Field_Number(Sibling(conversion, PlaceOf(LvlnRecord, "lvln_autoir_en"))) != 0) return;
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
  Text_Format(conversion.slots[0], "%gk", Field_Number(conversion.field) / 1000.0);
}

// An unknown source is taken for the microphone, in the section as well.
void InputSource_ToConfig(const Conversion& conversion) {
  Enum_ToConfig(conversion);
  if (Field_Number(conversion.field) != 1) Field_SetNumber(conversion.field, 2);
}

// clang-format off
constexpr std::array lvln_table = {
    Enum("lvln_autofc_en", if_motorized),
    Own("lvln_focus",      nullptr, LensPosition_ToConfig),
    Enum("lvln_autoir_en", if_automatic),
    Own("lvln_iris",       Iris_ToSection, Iris_ToConfig),
    Own("lvln_zoom",       nullptr, LensPosition_ToConfig),
    Names("lvln_pname_", lvln_extensions),
};

constexpr std::array lvad_table = {
    Enum("lvad_encoding",  encodings),
    Own("lvad_sampling",   Sampling_ToSection, Sampling_ToConfig),
    Enum("lvad_denoise",   denoise),
    FieldRule{.key = "lvad_insource", .to_section = Enum_ToSection,
              .to_config = InputSource_ToConfig, .values = inputs},
    Enum("lvad_outsink",   outputs),
    Names("lvad_pname_", lvad_extensions),
};

constexpr std::array lvdn_table = {
    Enum("lvdn_autodn_en",    if_automatic),
    Enum("lvdn_daynight",     day_night),
    Enum("lvdn_irled",        ir_led),
    Names("lvdn_ir_pname_", lvdn_extensions),
};
// clang-format on

static_assert(IsSound<FaultOf(lvln_table, LvlnRecord)>());
static_assert(IsSound<FaultOf(lvad_table, LvadRecord)>());
static_assert(IsSound<FaultOf(lvdn_table, LvdnRecord)>());

}  // namespace

const SectionRules lvln_rules = {SectionType::lvln, lvln_table, text_and_16_bit, text_and_16_bit,
                                 LensNumber};
const SectionRules lvad_rules = {SectionType::lvad, lvad_table, text_and_16_bit, text_and_16_bit,
                                 GainNumber};
const SectionRules lvdn_rules = {SectionType::lvdn, lvdn_table, text_and_16_bit, text_and_16_bit,
                                 Text_ToInt};
