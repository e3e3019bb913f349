// SPDX-License-Identifier: MIT
// Rules of the stream profiles (stpf).
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "param/rule.h"
#include "sections/stream_record.h"

namespace {

// clang-format off
constexpr std::array codec_rows   = {EnumRow{1, "H264"}, EnumRow{2, "H265"}, EnumRow{0, "MJPEG"}};
constexpr std::array profile_rows = {  // of codec and profile
    EnumRow{1, "H264", "0"}, EnumRow{2, "H264", "1"}, EnumRow{3, "H264", "2"},
    EnumRow{3, "H264", any_text, Way::to_section},
    EnumRow{4, "H265"}, EnumRow{5, "H265", any_text, Way::to_config}, EnumRow{0, "MJPEG"}};
constexpr std::array rate_control_rows = {EnumRow{0, "vbr"}, EnumRow{1, "cbr"}};
constexpr std::array on_off_rows       = {EnumRow{1, "on"}, EnumRow{0, "off"}};

constexpr Enumeration codecs       = {.rows = codec_rows, .unknown_number = 0};
constexpr Enumeration profiles     = {.rows = profile_rows, .unknown_text = 0};
constexpr Enumeration rate_control = {.rows = rate_control_rows};
constexpr Enumeration on_off       = {.rows = on_off_rows, .unknown_text = 0, .unknown_number = 0};
// clang-format on

constexpr std::size_t hres_row = 2;
constexpr std::size_t vres_row = 3;
constexpr std::size_t cbr_bitrate_row = 8;
constexpr std::size_t cbr_minquality_row = 9;

std::uint32_t Unsigned(std::int64_t value) { return static_cast<std::uint32_t>(value); }

// One of the two numbers of "1920x1080".
void Resolution_ToSection(const Conversion& conversion, std::size_t which) {
  std::array<int, 2> size{};
  if (Text_ScanInts(Slot_Text(conversion.slots[0]), "%dx%d", size.data()) != 2) return;
  Field_SetNumber(conversion.field, Unsigned(size[which]));
}

void Width_ToSection(const Conversion& conversion) { Resolution_ToSection(conversion, 0); }

void Height_ToSection(const Conversion& conversion) { Resolution_ToSection(conversion, 1); }

void Resolution_ToConfig(const Conversion& conversion) {
  (void)std::snprintf(conversion.slots[0].data(), conversion.slots[0].size(), "%ux%u",
                      Field_Number(Sibling(conversion, stpf_fields, hres_row)),
                      Field_Number(Sibling(conversion, stpf_fields, vres_row)));
}

void FrameRate_ToSection(const Conversion& conversion) {
  const std::int64_t frames = Text_ToInt(Slot_Text(conversion.slots[0]));
  Field_SetNumber(conversion.field, Unsigned(frames * 100));
}

void FrameRate_ToConfig(const Conversion& conversion) {
  Slot_SetNumber(conversion.slots[0], Field_Number(conversion.field) / 100);
}

// One group of pictures a second; an encoder can't take a length of 0.
void GroupOfPictures_ToSection(const Conversion& conversion) {
  Number_ToSection(conversion);
  if (Field_Number(conversion.field) == 0) Field_SetNumber(conversion.field, 1);
}

// Bits per second from "512k" or "2M"; nothing for a text without unit or a rate beyond the field.
std::optional<std::int64_t> ParseBitRate(const ValueSlot& slot) {
  const std::string_view text = Slot_Text(slot);
  if (text.find('k') != std::string_view::npos) return std::int64_t{Text_ToInt(text)} * 1000;
  if (text.find('M') == std::string_view::npos) return std::nullopt;
  const float rate = std::strtof(slot.data(), nullptr) * 1000000.0F;
  constexpr float beyond = 2147483648.0F;  // the first float above the range of a 32-bit number
  if (!(rate >= -beyond && rate < beyond)) return std::nullopt;
  return static_cast<std::int64_t>(rate);
}

void BitRate_ToSection(const Conversion& conversion) {
  const auto rate = ParseBitRate(conversion.slots[0]);
  if (rate) Field_SetNumber(conversion.field, Unsigned(*rate));
}

// The constant rate is the least quality as well; either row writes both.
void ConstantBitRate_ToSection(const Conversion& conversion) {
  const auto rate = ParseBitRate(conversion.slots[0]);
  if (!rate) return;
  for (const std::size_t row : {cbr_bitrate_row, cbr_minquality_row}) {
    Field_SetNumber(Sibling(conversion, stpf_fields, row), Unsigned(*rate));
  }
}

void RestoreBitRate(const Conversion& conversion, std::span<const std::uint8_t> field) {
  const std::int32_t rate = Field_Signed(field);
  ValueSlot& slot = conversion.slots[0];
  if (rate > 999999) {
    (void)std::snprintf(slot.data(), slot.size(), "%gM", rate / 1000000.0);
  } else {
    (void)std::snprintf(slot.data(), slot.size(), "%gk", rate / 1000.0);
  }
}

void BitRate_ToConfig(const Conversion& conversion) {
  RestoreBitRate(conversion, conversion.field);
}

void ConstantBitRate_ToConfig(const Conversion& conversion) {
  RestoreBitRate(conversion, Sibling(conversion, stpf_fields, cbr_bitrate_row));
}

// clang-format off
constexpr std::array stpf_table = {
    FieldRule{.key = "srpf_pf_videoencoder",   .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &codecs},
    FieldRule{.key = "stpf_pf_hres",           .to_section = Width_ToSection, .to_config = Resolution_ToConfig},
    FieldRule{.key = "stpf_pf_vres",           .to_section = Height_ToSection, .to_config = Resolution_ToConfig},
    FieldRule{.key = "stpf_pf_fps100",         .to_section = FrameRate_ToSection, .to_config = FrameRate_ToConfig},
    FieldRule{.key = "stpf_pf_profile",        .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &profiles},
    FieldRule{.key = "stpf_pf_gop",            .to_section = GroupOfPictures_ToSection},
    FieldRule{.key = "stpf_pf_ratecontrol",    .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &rate_control},
    FieldRule{.key = "stpf_pf_CBR_bitrate",    .to_section = ConstantBitRate_ToSection, .to_config = ConstantBitRate_ToConfig},
    FieldRule{.key = "stpf_pf_CBR_minquality", .to_section = ConstantBitRate_ToSection, .to_config = ConstantBitRate_ToConfig},
    FieldRule{.key = "stpf_pf_VBR_maxrate",    .to_section = BitRate_ToSection, .to_config = BitRate_ToConfig},
    FieldRule{.key = "stpf_pf_ovl_en",         .to_section = Constant_ToSection, .to_config = Enum_ToConfig, .values = &on_off, .constant = 1},
    FieldRule{.key = "stpf_pf_audio_en",       .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = &on_off},
    FieldRule{.key = "stpf_pf_pname_%d",       .to_section = Name_ToSection, .names = stpf_names},
};
// clang-format on

}  // namespace

const SectionRules stpf_rules = {8, stpf_table, all_kinds, all_kinds, Text_ToPlainInt};
