// SPDX-License-Identifier: MIT
// Rules of the stream profiles (stpf).
#include <cmath>
#include <cstdlib>
#include <limits>

#include "param/rule_table.h"
#include "sections/stream_record.h"

namespace {

// clang-format off
constexpr std::array codecs       = {EnumRow{1, "H264"}, EnumRow{2, "H265"}, EnumRow{0, "MJPEG"},
                                     UnknownNumber("MJPEG")};
constexpr std::array profiles     = {  // of codec and profile
    EnumRow{1, "H264", "0"}, EnumRow{2, "H264", "1"}, EnumRow{3, "H264", "2"},
    EnumRow{.number = 3, .text = "H264", .use = RowUse::to_section}, EnumRow{4, "H265"},
    EnumRow{.number = 5, .text = "H265", .use = RowUse::to_config}, EnumRow{0, "MJPEG"},
    UnknownText(0)};
constexpr std::array rate_control = {EnumRow{0, "vbr"}, EnumRow{1, "cbr"}};
// clang-format on

constexpr FieldPlace cbr_bitrate = PlaceOf(StpfRecord, "stpf_pf_CBR_bitrate");
constexpr FieldPlace cbr_minquality = PlaceOf(StpfRecord, "stpf_pf_CBR_minquality");

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
  Text_Format(conversion.slots[0], "%ux%u",
              Field_Number(Sibling(conversion, PlaceOf(StpfRecord, "stpf_pf_hres"))),
              Field_Number(Sibling(conversion, PlaceOf(StpfRecord, "stpf_pf_vres"))));
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
  Field_SetNumber(conversion.field, Unsigned(Text_ToInt(Slot_Text(conversion.slots[0]))));
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
  for (const FieldPlace place : {cbr_bitrate, cbr_minquality}) {
    Field_SetNumber(Sibling(conversion, place), Unsigned(*rate));
  }
}

void RestoreBitRate(const Conversion& conversion, std::span<const std::uint8_t> field) {
  const std::int32_t rate = Field_Signed(field);
  ValueSlot& slot = conversion.slots[0];
  if (rate > 999999) {
    Text_Format(slot, "%gM", rate / 1000000.0);
  } else {
    Text_Format(slot, "%gk", rate / 1000.0);
  }
}

void BitRate_ToConfig(const Conversion& conversion) {
  RestoreBitRate(conversion, conversion.field);
}

void ConstantBitRate_ToConfig(const Conversion& conversion) {
  RestoreBitRate(conversion, Sibling(conversion, cbr_bitrate));
}

// clang-format off
constexpr std::array stpf_table = {
    Enum("srpf_pf_videoencoder",  codecs),
    Own("stpf_pf_hres",           Width_ToSection, Resolution_ToConfig),
    Own("stpf_pf_vres",           Height_ToSection, Resolution_ToConfig),
    Own("stpf_pf_fps100",         FrameRate_ToSection, FrameRate_ToConfig),
    Enum("stpf_pf_profile",       profiles),
    Own("stpf_pf_gop",            GroupOfPictures_ToSection, nullptr),
    Enum("stpf_pf_ratecontrol",   rate_control),
    Own("stpf_pf_CBR_bitrate",    ConstantBitRate_ToSection, ConstantBitRate_ToConfig),
    Own("stpf_pf_CBR_minquality", ConstantBitRate_ToSection, ConstantBitRate_ToConfig),
    Own("stpf_pf_VBR_maxrate",    BitRate_ToSection, BitRate_ToConfig),
    FieldRule{.key = "stpf_pf_ovl_en", .to_section = Constant_ToSection, .to_config = Enum_ToConfig,
              .values = on_off, .constant = 1},
    Enum("stpf_pf_audio_en",      on_off),
    Names("stpf_pf_pname_",     stpf_extensions),
};
// clang-format on

static_assert(IsSound<FaultOf(stpf_table, StpfRecord)>());

}  // namespace

const SectionRules stpf_rules = {SectionType::stpf, stpf_table, all_kinds, all_kinds, Text_ToInt};
