// SPDX-License-Identifier: MIT
// Lens (lvln), audio (lvad) and day/night switching (lvdn).
#pragma once

#include "sections/field_codec.h"

// clang-format off
inline constexpr std::array lvln_extensions = {
    Extension{"refocus_method", "ImageSource.I0.LensControl.Smart.Method"},
};
inline constexpr auto LvlnRecord = WithExtensions<8, lvln_extensions>(
    std::array{
        Field{"lvln_autofc_en", byte_field, "Properties.Lens.Type"},
        Field{"lvln_focus",     s16_field,  "ImageSource.I0.LensControl.FocusPos"},
        Field{"lvln_fc_speed",  s16_field,  "PTZ.Speed.FocusSpeed"},
        Field{"lvln_autoir_en", byte_field, "ImageSource.I0.Iris.Type"},
        Field{"lvln_iris",      s16_field,  "ImageSource.I0.Iris.Type,ImageSource.I0.Iris.Value"},
        Field{"lvln_ir_speed",  s16_field,  "PTZ.Speed.IrisSpeed"},
        Field{"lvln_zoom",      s16_field,  "ImageSource.I0.LensControl.ZoomPos"},
        Field{"lvln_zm_speed",  s16_field,  "PTZ.Speed.ZoomSpeed"}},
    "lvln_pname_", "lvln_pvalue_");

inline constexpr std::array lvad_extensions = {
    Extension{"lvad_mode", "Audio.AudioSource.A0.AudioMode"},
};
inline constexpr auto LvadRecord = WithExtensions<8, lvad_extensions>(
    std::array{
        Field{"lvad_encoding", byte_field, "Audio.AudioSource.A0.AudioEncoding"},
        Field{"lvad_sampling", u16_field,  "Audio.AudioSource.A0.AMR.AudioCodecBitRate"},
        Field{"lvad_denoise",  s16_field,  "Audio.AudioSource.A0.AudioDenoise.Level"},
        Field{"lvad_insource", byte_field, "Audio.AudioSource.A0.AudioInputType"},
        Field{"lvad_ingain",   s16_field,  "Audio.AudioSource.A0.AudioInputGain"},
        Field{"lvad_outsink",  byte_field, "Properties.Audio.OutputType"},
        Field{"lvad_outgain",  s16_field,  "Audio.AudioSource.A0.AudioOutputGain"}},
    "lvad_pname_", "lvad_pvalue_");

inline constexpr std::array lvdn_extensions = {
    Extension{"smartir",   "ImageSource.I0.SmartIR"},
    Extension{"ir_level",  "ImageSource.I0.IR.Level"},
    Extension{"ir_angle",  "ImageSource.I0.IR.Level2"},
    Extension{"night_sch", "ImageSource.I0.IR.ScheduleIdx"},
};
inline constexpr auto LvdnRecord = WithExtensions<8, lvdn_extensions>(
    std::array{
        Field{"lvdn_autodn_en", byte_field, "ImageSource.I0.IR.ICRType"},
        Field{"lvdn_daynight",  byte_field, "ImageSource.I0.IR.ICRType"},
        Field{"lvdn_dn_delay",  u16_field,  "ImageSource.I0.IR.LeastTime.DayToNight"},
        Field{"lvdn_ir_thmin",  s16_field,  "ImageSource.I0.IR.LowTh"},
        Field{"lvdn_ir_thmax",  s16_field,  "ImageSource.I0.IR.HighTh"},
        Field{"lvdn_irled",     byte_field, "ImageSource.I0.IR.Type"}},
    "lvdn_ir_pname_", "lvdn_ir_pvalue_");
// clang-format on

static_assert(IsSound<FaultOf(LvlnRecord, "lvln_")>() && PayloadSize(LvlnRecord) == 654);
static_assert(IsSound<FaultOf(LvadRecord, "lvad_")>() && PayloadSize(LvadRecord) == 651);
static_assert(IsSound<FaultOf(LvdnRecord, "lvdn_")>() && PayloadSize(LvdnRecord) == 649);

inline constexpr auto EEprom_WriteLvln = EEprom_WriteFields<LvlnRecord>;
inline constexpr auto EEprom_WriteLvad = EEprom_WriteFields<LvadRecord>;
inline constexpr auto EEprom_WriteLvdn = EEprom_WriteFields<LvdnRecord>;
inline constexpr auto EEprom_ReadLvln = EEprom_ReadFields<LvlnRecord>;
inline constexpr auto EEprom_ReadLvad = EEprom_ReadFields<LvadRecord>;
inline constexpr auto EEprom_ReadLvdn = EEprom_ReadFields<LvdnRecord>;
