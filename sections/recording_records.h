// SPDX-License-Identifier: MIT
// Recording to the memory card (srin) and to network storage (srex).
#pragma once

#include "sections/field_codec.h"

// clang-format off
inline constexpr std::array srin_extensions = {
    Extension{"overwrite",    "Event.MemoryCard.Overwrite"},
    Extension{"rec_filesize", "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.FileSize"},
    Extension{"rec_period",   "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Period"},
    Extension{"rec_sch",      "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Schedule"},
    Extension{"rec_name",     "Event.Scheduled.S0.Name"},
};
inline constexpr auto SrinRecord = WithExtensions<8, srin_extensions>(
    std::array{
        Field{"srin_sdcard_en",           byte_field,    "Event.MemoryCard.Enabled"},
        Field{"srin_rec_continuous",      byte_field,    "Event.Scheduled.S0.ServerType,"
                                                         "Event.Scheduled.S0.Enabled"},
        Field{"srin_rec_onevent",         byte_field,    "Event.MemoryCard.Enabled"},
        Field{"srin_rec_event_media",     byte_field,    "Event.MemoryCard.Media.Type"},
        Field{"srin_rec_preevent",        u16_field,     "Event.MemoryCard.Media.PreAlarm"},
        Field{"srin_rec_postevent",       u16_field,     "Event.MemoryCard.Media.PostAlarm"},
        Field{"srin_rec_videoprofile",    TextField(32), "ImageSource.RecordIndex"},
        Field{"srin_rec_snapshotprofile", TextField(32), "ImageSource.SnapshotIndex"},
        Field{"srin_maxdays",             u16_field}},
    "srin_pname_", "srin_pvalue_");

inline constexpr std::array srex_extensions = {
    Extension{"rec_filesize", "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.FileSize"},
    Extension{"rec_period",   "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Period"},
    Extension{"rec_sch",      "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Schedule"},
    Extension{"server_name",  "Event.Server.S%d.Name"},
    Extension{"rec_name",     "Event.Scheduled.S0.Name"},
};
inline constexpr auto SrexRecord = WithExtensions<8, srex_extensions>(
    std::array{
        Field{"srex_rec_en",              byte_field,     "Event.Server.S%d.Type"},
        Field{"srex_server_type",         byte_field,     "Event.Server.S%d.Protocol"},
        Field{"srex_srv_domain",          TextField(32),  "Event.Server.S%d.Workgroup"},
        Field{"srex_srv_addr",            TextField(32),  "Event.Server.S%d.Location"},
        Field{"srex_srv_path",            TextField(256), "Event.Server.S%d.Location"},
        Field{"srex_srv_tcpport_1",       u16_field},
        Field{"srex_srv_tcpport_2",       u16_field},
        Field{"srex_srv_udpport_1",       u16_field},
        Field{"srex_srv_udpport_2",       u16_field},
        Field{"srex_srv_ftppasv",         byte_field},
        Field{"srex_srv_auth",            byte_field,     "Event.Server.S%d.Password"},
        Field{"srex_srv_username",        TextField(32),  "Event.Server.S%d.Username"},
        Field{"srex_srv_password",        password_field, "Event.Server.S%d.Password"},
        Field{"srex_rec_continuous",      byte_field,     "Event.Scheduled.S0.ServerType,"
                                                          "Event.Scheduled.S0.Enabled"},
        Field{"srex_rec_onevent",         byte_field,     "Event.Server.S%d.Type"},
        Field{"srex_rec_event_media",     byte_field,     "Event.Media.M%d.Type"},
        Field{"srex_rec_preevent",        u16_field,      "Event.Media.M%d.PreAlarm"},
        Field{"srex_rec_postevent",       u16_field,      "Event.Media.M%d.PostAlarm"},
        Field{"srex_rec_videoprofile",    TextField(32),  "ImageSource.RecordIndex"},
        Field{"srex_rec_snapshotprofile", TextField(32),  "ImageSource.SnapshotIndex"},
        Field{"srex_maxdays",             u16_field},
        Field{"srex_maxsize",             word32_field,   "Event.Server.S%d.CyclicSize"}},
    "srex_pname_", "srex_pvalue_");
// clang-format on

static_assert(IsSound<FaultOf(SrinRecord, "srin_")>() && PayloadSize(SrinRecord) == 714);
static_assert(IsSound<FaultOf(SrexRecord, "srex_")>() && PayloadSize(SrexRecord) == 1113);

inline constexpr auto EEprom_WriteSrin = EEprom_WriteFields<SrinRecord>;
inline constexpr auto EEprom_WriteSrex = EEprom_WriteFields<SrexRecord>;
inline constexpr auto EEprom_ReadSrin = EEprom_ReadFields<SrinRecord>;
inline constexpr auto EEprom_ReadSrex = EEprom_ReadFields<SrexRecord>;
