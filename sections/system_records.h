// SPDX-License-Identifier: MIT
// Date and time (ssdt), users (sssc) and network (ssnt).
#pragma once

#include "sections/field_codec.h"

// clang-format off
inline constexpr std::array ssdt_fields = {
    Field{"ssdt_format",     byte_field,    "General.Time.DateFormat"},
    Field{"ssdt_ntp_en",     byte_field,    "General.Time.SyncSource"},
    Field{"ssdt_ntp_addr_1", TextField(32), "General.Time.NTP.ManualServer"},
    Field{"ssdt_ntp_addr_2", TextField(32), "General.Time.NTP.ManualServer1"},
    Field{"ssdt_ntp_addr_3", TextField(32), "General.Time.NTP.ManualServer2"},
    Field{"ssdt_ntp_addr_4", TextField(32), "General.Time.NTP.ManualServer3"},
    Field{"ssdt_timezone",   TextField(64), "General.Time.TimeZone"},
};

// A user's account is one parameter, of which each of the user's three fields holds a part.
inline constexpr std::array sssc_fields = {
    Field{"sssc_username_1", TextField(32),  "General.UserID.Admin"},
    Field{"sssc_username_2", TextField(32),  "General.UserID.U0.User"},
    Field{"sssc_username_3", TextField(32),  "General.UserID.U1.User"},
    Field{"sssc_username_4", TextField(32),  "General.UserID.U2.User"},
    Field{"sssc_username_5", TextField(32),  "General.UserID.U3.User"},
    Field{"sssc_password_1", password_field, "General.UserID.Admin"},
    Field{"sssc_password_2", password_field, "General.UserID.U0.User"},
    Field{"sssc_password_3", password_field, "General.UserID.U1.User"},
    Field{"sssc_password_4", password_field, "General.UserID.U2.User"},
    Field{"sssc_password_5", password_field, "General.UserID.U3.User"},
    Field{"sssc_group_1",    byte_field},
    Field{"sssc_group_2",    byte_field,     "General.UserID.U0.User"},
    Field{"sssc_group_3",    byte_field,     "General.UserID.U1.User"},
    Field{"sssc_group_4",    byte_field,     "General.UserID.U2.User"},
    Field{"sssc_group_5",    byte_field,     "General.UserID.U3.User"},
};

inline constexpr auto ssnt_extensions = Extensions<8>({
    {"ipv6_addr",      "General.Network.eth0.IPv6Address"},
    {"upnp_en",        "General.Network.UPnP.Enabled"},
    {"nat_en",         "General.Network.UPnP.NATTraversal.Enabled"},
    {"nat_http_port",  "General.Network.UPnP.NATTraversal.HTTPPort"},
    {"nat_https_port", "General.Network.UPnP.NATTraversal.HTTPSPort"},
    {"nat_rtsp_port",  "General.Network.UPnP.NATTraversal.RTSPPort"},
});
inline constexpr auto ssnt_fields = JoinFields(
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
    NameFields<"ssnt_pname_">(ssnt_extensions), ValueFields<"ssnt_pvalue_">(ssnt_extensions));
// clang-format on

static_assert(IsSound<FaultOf(ssdt_fields, "ssdt_")>() && PayloadSize(ssdt_fields) == 194);
static_assert(IsSound<FaultOf(sssc_fields, "sssc_")>() && PayloadSize(sssc_fields) == 325);
static_assert(IsSound<FaultOf(ssnt_fields, "ssnt_")>() && PayloadSize(ssnt_fields) == 806);
static_assert(IsSound<FaultOf(ssnt_extensions)>());

inline constexpr auto EEprom_WriteSsdt = EEprom_WriteFields<ssdt_fields>;
inline constexpr auto EEprom_WriteSssc = EEprom_WriteFields<sssc_fields>;
inline constexpr auto EEprom_WriteSsnt = EEprom_WriteFields<ssnt_fields>;
inline constexpr auto EEprom_ReadSsdt = EEprom_ReadFields<ssdt_fields>;
inline constexpr auto EEprom_ReadSssc = EEprom_ReadFields<sssc_fields>;
inline constexpr auto EEprom_ReadSsnt = EEprom_ReadFields<ssnt_fields>;
