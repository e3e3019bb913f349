// SPDX-License-Identifier: MIT
// The video stream profiles (stpf): four sections of one layout, I0 to I3.
#pragma once

#include "sections/field_codec.h"

// The rows of the first profile.
// clang-format off
inline constexpr auto stpf_extensions = Extensions<16>({
    {"smart_codec",    "StreamProfile.I0.Video.ZIP.LV"},
    {"pf_description", "StreamProfile.I0.Video.Description"},
    {"roi_enabled",    "StreamProfile.I0.Video.Roi.Enabled"},
    {"capture_mode",   "ImageSource.I0.Config.CaptureMode"},
});
inline constexpr auto stpf_fields = JoinFields(
    std::array{
        Field{"stpf_pf_name",           TextField(32), "StreamProfile.I0.Video.Name"},
        Field{"srpf_pf_videoencoder",   byte_field,    "StreamProfile.I0.Video.Codec"},
        Field{"stpf_pf_hres",           u16_field,     "StreamProfile.I0.Video.Resolution"},
        Field{"stpf_pf_vres",           u16_field,     "StreamProfile.I0.Video.Resolution"},
        Field{"stpf_pf_fps100",         u16_field,     "StreamProfile.I0.Video.FPS"},
        Field{"stpf_pf_profile",        byte_field,    "StreamProfile.I0.Video.Codec,"
                                                       "StreamProfile.I0.Video.Profile"},
        Field{"stpf_pf_gop",            u16_field,     "StreamProfile.I0.Video.FPS"},
        Field{"stpf_pf_ratecontrol",    byte_field,    "StreamProfile.I0.Video.Quality.Mode"},
        Field{"stpf_pf_CBR_bitrate",    word32_field,  "StreamProfile.I0.Video.Quality.BitRate"},
        Field{"stpf_pf_CBR_minquality", word32_field,  "StreamProfile.I0.Video.Quality.BitRate"},
        Field{"stpf_pf_VBR_quality",    word32_field,  "StreamProfile.I0.Video.Quality.Quant"},
        Field{"stpf_pf_VBR_maxrate",    word32_field,  "StreamProfile.I0.Video.Quality.MaxBitRate"},
        Field{"stpf_pf_ovl_en",         byte_field,    "StreamProfile.I0.OSD.Enabled"},
        Field{"stpf_pf_audio_en",       byte_field,    "StreamProfile.I0.Audio.Enabled"}},
    NameFields<"stpf_pf_pname_">(stpf_extensions), ValueFields<"stpf_pf_pvalue_">(stpf_extensions));
// clang-format on

// One key has been spelt this way since the first image.
static_assert(IsSound<FaultOf(stpf_fields, "stpf_", "srpf_pf_videoencoder")>());
static_assert(IsSound<FaultOf(stpf_extensions)>() && PayloadSize(stpf_fields) == 1341);

// The paths of another profile, back to back, and its rows. What does not lie in a profile travels
// with the first one only.
template <char digit>
inline constexpr auto stpf_paths = [] {
  constexpr std::string_view list = "StreamProfile.I0.";
  constexpr std::size_t digit_at = list.find('0');
  constexpr auto length = [] {
    std::size_t sum = 0;
    for (const Field& field : stpf_fields) sum += field.paths.size();
    return sum;
  }();
  std::array<char, length> texts{};
  auto* end = texts.begin();
  for (const Field& field : stpf_fields) end = std::ranges::copy(field.paths, end).out;
  for (auto* at = texts.begin();
       (at = std::search(at, texts.end(), list.begin(), list.end())) != texts.end();) {
    at += digit_at;
    *at = digit;
  }
  return texts;
}();

template <char digit>
inline constexpr auto stpf_fields_of = [] {
  auto fields = stpf_fields;
  std::string_view rest{stpf_paths<digit>.data(), stpf_paths<digit>.size()};
  for (Field& field : fields) {
    const std::string_view paths = rest.substr(0, field.paths.size());
    rest.remove_prefix(paths.size());
    field.paths = paths.starts_with("StreamProfile.") ? paths : std::string_view();
  }
  return fields;
}();

inline constexpr auto EEprom_WriteStpf = EEprom_WriteFields<stpf_fields>;
inline constexpr auto EEprom_ReadStpf = EEprom_ReadFields<stpf_fields>;
