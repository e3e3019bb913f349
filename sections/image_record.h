// SPDX-License-Identifier: MIT
// Image settings (lvim).
#pragma once

#include "sections/field_codec.h"

// clang-format off
inline constexpr std::array lvim_extensions = {
    Extension{"denoise3d",      "ImageSource.I0.Sensor.DeNoise.DeNoise3D"},
    Extension{"defog",          "ImageSource.I0.DeFog.Mode"},
    Extension{"exptarget",      "ImageSource.I0.Sensor.ExpTarget"},
    Extension{"colortone",      "ImageSource.I0.Sensor.ColorTone"},
    Extension{"rotated",        "ImageSource.I0.Sensor.Rotate.Angle"},
    Extension{"lowlight_en",    "ImageSource.I0.Sensor.LowLightBehavior.Enabled"},
    Extension{"lowlight_exp",   "ImageSource.I0.Sensor.LowLightBehavior.ExpTarget"},
    Extension{"lowlight_exmin", "ImageSource.I0.Sensor.LowLightBehavior.ShutterSpeedMin"},
    Extension{"lowlight_exmax", "ImageSource.I0.Sensor.LowLightBehavior.ShutterSpeedMax"},
    Extension{"lowlight_gmin",  "ImageSource.I0.Sensor.LowLightBehavior.GainMin"},
    Extension{"lowlight_gmax",  "ImageSource.I0.Sensor.LowLightBehavior.GainMax"},
    Extension{"lowlight_mode",  "ImageSource.I0.Sensor.LowLightBehavior.Mode"},
    Extension{"lowlight_sch",   "ImageSource.I0.Sensor.LowLightBehavior.ScheduleIdx"},
    Extension{"overlay",        "Image.OSD.TextColor,Image.OSD.BkColor,Image.OSD.Position"},
    Extension{"denoise2d",      "ImageSource.I0.Sensor.DeNoise.Mode,"
                                "ImageSource.I0.Sensor.DeNoise.ScheduleIdx"},
};
inline constexpr auto LvimRecord = WithExtensions<16, lvim_extensions>(
    std::array{
        Field{"lvim_flip",            byte_field,    "ImageSource.I0.Sensor.Flip,"
                                                     "ImageSource.I0.Sensor.Mirror"},
        Field{"lvim_videoprofile",    TextField(32)},
        Field{"lvim_snapshotprofile", TextField(32)},
        Field{"lvim_ovl_en",          byte_field,    "Image.OSD.Date,Image.OSD.Title"},
        Field{"lvim_ovl_format",      TextField(64), "Image.OSD.Alias,Image.OSD.Title,"
                                                     "Image.OSD.Date"},
        Field{"lvim_autobr_en",       byte_field},
        Field{"lvim_brightness",      s16_field,     "ImageSource.I0.Sensor.Brightness"},
        Field{"lvim_autoct_en",       byte_field},
        Field{"lvim_contrast",        s16_field,     "ImageSource.I0.Sensor.Contrast"},
        Field{"lvim_saturation",      s16_field,     "ImageSource.I0.Sensor.Saturation"},
        Field{"lvim_sharpness",       s16_field,     "ImageSource.I0.Sensor.Sharpness"},
        Field{"lvim_whitebalance",    byte_field,    "ImageSource.I0.Sensor.WhiteBalance"},
        Field{"lvim_autoex_en",       byte_field,    "ImageSource.I0.Sensor.PowerFrequency"},
        Field{"lvim_autoex_freq",     byte_field,    "ImageSource.I0.Sensor.PowerFrequency"},
        Field{"lvim_autoex_min",      u16_field,     "ImageSource.I0.Sensor.ShutterSpeedMin"},
        Field{"lvim_autoex_max",      u16_field,     "ImageSource.I0.Sensor.ShutterSpeedMax"},
        Field{"lvim_exposure",        u16_field},
        Field{"lvim_autog_en",        byte_field,    "ImageSource.I0.Sensor.PowerFrequency"},
        Field{"lvim_autog_min",       u16_field,     "ImageSource.I0.Sensor.GainMin"},
        Field{"lvim_autog_max",       u16_field,     "ImageSource.I0.Sensor.GainMax"},
        Field{"lvim_gain",            u16_field},
        Field{"lvim_autowdr_en",      byte_field,
              "ImageSource.I0.Sensor.WideDynamicRange.ModeSpk"},
        Field{"lvim_wdr",             s16_field,
              "ImageSource.I0.Sensor.WideDynamicRange.ModeSpk,"
              "ImageSource.I0.Sensor.WideDynamicRange.Level"},
        Field{"lvim_autodn_en",       byte_field,    "ImageSource.I0.Sensor.DeNoise.Mode"},
        Field{"lvim_denoise",         s16_field,     "ImageSource.I0.Sensor.DeNoise.Mode,"
                                                     "ImageSource.I0.Sensor.DeNoise.DeNoiseY"}},
    "lvim_dn_pname_", "lvim_dn_pvalue_");
// clang-format on

static_assert(IsSound<FaultOf(LvimRecord, "lvim_")>() && PayloadSize(LvimRecord) == 1442);

inline constexpr auto EEprom_WriteLvim = EEprom_WriteFields<LvimRecord>;
inline constexpr auto EEprom_ReadLvim = EEprom_ReadFields<LvimRecord>;
