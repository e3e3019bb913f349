// SPDX-License-Identifier: MIT
// Identification, date and time (ssdt), users (sssc) and network (ssnt).
#pragma once

#include "sections/field_codec.h"

// clang-format off
// It lies at address 0 and is made of no parameters.
inline constexpr std::array IdentificationRecord = {
    Field{"id",   TextField(32)},  // product number, NUL-padded; a longer one has no terminator
    Field{"time", word32_field},   // seconds since 1970 when the image was last written to
};

inline constexpr std::array SsdtRecord = {
    Field{"ssdt_format",         byte_field,    "General.Time.DateFormat"},
    Field{"ssdt_ntp_en",         byte_field,    "General.Time.SyncSource"},
    Field{{"ssdt_ntp_addr_", 1}, TextField(32), "General.Time.NTP.ManualServer"},
    Field{{"ssdt_ntp_addr_", 2}, TextField(32), "General.Time.NTP.ManualServer1"},
    Field{{"ssdt_ntp_addr_", 3}, TextField(32), "General.Time.NTP.ManualServer2"},
    Field{{"ssdt_ntp_addr_", 4}, TextField(32), "General.Time.NTP.ManualServer3"},
    Field{"ssdt_timezone",       TextField(64), "General.Time.TimeZone"},
};

// A user's account is one parameter, of which each of the user's three fields holds a part.
inline constexpr std::array SsscRecord = {
    Field{{"sssc_username_", 1}, TextField(32),  "General.UserID.Admin"},
    Field{{"sssc_username_", 2}, TextField(32),  "General.UserID.U0.User"},
    Field{{"sssc_username_", 3}, TextField(32),  "General.UserID.U1.User"},
    Field{{"sssc_username_", 4}, TextField(32),  "General.UserID.U2.User"},
    Field{{"sssc_username_", 5}, TextField(32),  "General.UserID.U3.User"},
    Field{{"sssc_password_", 1}, password_field, "General.UserID.Admin"},
    Field{{"sssc_password_", 2}, password_field, "General.UserID.U0.User"},
    Field{{"sssc_password_", 3}, password_field, "General.UserID.U1.User"},
    Field{{"sssc_password_", 4}, password_field, "General.UserID.U2.User"},
    Field{{"sssc_password_", 5}, password_field, "General.UserID.U3.User"},
    Field{{"sssc_group_", 1},    byte_field},
    Field{{"sssc_group_", 2},    byte_field,     "General.UserID.U0.User"},
    Field{{"sssc_group_", 3},    byte_field,     "General.UserID.U1.User"},
    Field{{"sssc_group_", 4},    byte_field,     "General.UserID.U2.User"},
    Field{{"sssc_group_", 5},    byte_field,     "General.UserID.U3.User"},
};

inline constexpr std::array ssnt_extensions = {
    Extension{"ipv6_addr",      "General.Network.eth0.IPv6Address"},
    Extension{"upnp_en",        "General.Network.UPnP.Enabled"},
    Extension{"nat_en",         "General.Network.UPnP.NATTraversal.Enabled"},
    Extension{"nat_http_port",  "General.Network.UPnP.NATTraversal.HTTPPort"},
    Extension{"nat_https_port", "General.Network.UPnP.NATTraversal.HTTPSPort"},
    Extension{"nat_rtsp_port",  "General.Network.UPnP.NATTraversal.RTSPPort"},
};
inline constexpr auto SsntRecord = WithExtensions<8, ssnt_extensions>(
    std::array{
        Field{"ssnt_dhcp_en",    byte_field,    "General.Network.eth0.BootProto"},
        Field{"ssnt_addr",       TextField(32), "General.Network.eth0.IPAddress"},
        Field{"ssnt_mask",       TextField(32), "General.Network.eth0.SubnetMask"},
        Field{"ssnt_gateway",    TextField(32), "General.Network.eth0.DefaultRouter"},
        Field{"ssnt_dns_auto",   byte_field,    "General.Network.eth0.DNSAuto"},
        Field{"ssnt_dns_addr_1", TextField(32), "General.Network.eth0.DNSServer1"},
        Field{"ssnt_dns_addr_2", TextField(32), "General.Network.eth0.DNSServer2"},
        Field{"ssnt_http_port",  u16_field,     "General.System.HTTPPort"},
        Field{"ssnt_rtsp_port",  u16_field,     "General.Network.RTSP.Port"}},
    "ssnt_pname_", "ssnt_pvalue_");
// clang-format on

static_assert(IsSound<FaultOf(IdentificationRecord, "")>());
static_assert(PayloadSize(IdentificationRecord) == 36);
static_assert(IsSound<FaultOf(SsdtRecord, "ssdt_")>() && PayloadSize(SsdtRecord) == 194);
static_assert(IsSound<FaultOf(SsscRecord, "sssc_")>() && PayloadSize(SsscRecord) == 325);
static_assert(IsSound<FaultOf(SsntRecord, "ssnt_")>() && PayloadSize(SsntRecord) == 806);

inline constexpr FieldPlace identification_id = PlaceOf(IdentificationRecord, "id");
inline constexpr FieldPlace identification_time = PlaceOf(IdentificationRecord, "time");

inline constexpr auto EEprom_WriteSsdt = EEprom_WriteFields<SsdtRecord>;
inline constexpr auto EEprom_WriteSssc = EEprom_WriteFields<SsscRecord>;
inline constexpr auto EEprom_WriteSsnt = EEprom_WriteFields<SsntRecord>;
inline constexpr auto EEprom_ReadSsdt = EEprom_ReadFields<SsdtRecord>;
inline constexpr auto EEprom_ReadSssc = EEprom_ReadFields<SsscRecord>;
inline constexpr auto EEprom_ReadSsnt = EEprom_ReadFields<SsntRecord>;
