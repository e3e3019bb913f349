// SPDX-License-Identifier: MIT
// The video stream profiles (stpf): four sections of one layout, I0 to I3.
#pragma once

#include "sections/field_codec.h"

// The rows of every profile, whose digit its map has.
// clang-format off
inline constexpr std::array stpf_extensions = {
    Extension{"smart_codec",    "StreamProfile.I#.Video.ZIP.LV"},
    Extension{"pf_description", "StreamProfile.I#.Video.Description"},
    Extension{"roi_enabled",    "StreamProfile.I#.Video.Roi.Enabled"},
    Extension{"capture_mode",   "ImageSource.I0.Config.CaptureMode"},
};
inline constexpr auto StpfRecord = WithExtensions<16, stpf_extensions>(
    std::array{
        Field{"stpf_pf_name",           TextField(32), "StreamProfile.I#.Video.Name"},
        Field{"srpf_pf_videoencoder",   byte_field,    "StreamProfile.I#.Video.Codec"},
        Field{"stpf_pf_hres",           u16_field,     "StreamProfile.I#.Video.Resolution"},
        Field{"stpf_pf_vres",           u16_field,     "StreamProfile.I#.Video.Resolution"},
        Field{"stpf_pf_fps100",         u16_field,     "StreamProfile.I#.Video.FPS"},
        Field{"stpf_pf_profile",        byte_field,    "StreamProfile.I#.Video.Codec,"
                                                       "StreamProfile.I#.Video.Profile"},
        Field{"stpf_pf_gop",            u16_field,     "StreamProfile.I#.Video.FPS"},
        Field{"stpf_pf_ratecontrol",    byte_field,    "StreamProfile.I#.Video.Quality.Mode"},
        Field{"stpf_pf_CBR_bitrate",    word32_field,  "StreamProfile.I#.Video.Quality.BitRate"},
        Field{"stpf_pf_CBR_minquality", word32_field,  "StreamProfile.I#.Video.Quality.BitRate"},
        Field{"stpf_pf_VBR_quality",    word32_field,  "StreamProfile.I#.Video.Quality.Quant"},
        Field{"stpf_pf_VBR_maxrate",    word32_field,  "StreamProfile.I#.Video.Quality.MaxBitRate"},
        Field{"stpf_pf_ovl_en",         byte_field,    "StreamProfile.I#.OSD.Enabled"},
        Field{"stpf_pf_audio_en",       byte_field,    "StreamProfile.I#.Audio.Enabled"}},
    "stpf_pf_pname_", "stpf_pf_pvalue_");
// clang-format on

// One key has been spelt this way since the first image.
static_assert(IsSound<FaultOf(StpfRecord, "stpf_", "srpf_pf_videoencoder")>());
static_assert(PayloadSize(StpfRecord) == 1341);

inline constexpr auto EEprom_WriteStpf = EEprom_WriteFields<StpfRecord>;
inline constexpr auto EEprom_ReadStpf = EEprom_ReadFields<StpfRecord>;
