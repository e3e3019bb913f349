// SPDX-License-Identifier: MIT
#include "param/section_map.h"

#include <utility>

#include "param/compile_time_text.h"
#include "sections/device_records.h"
#include "sections/image_record.h"
#include "sections/recording_records.h"
#include "sections/section.h"
#include "sections/stream_record.h"
#include "sections/system_records.h"

namespace {

// Rows "<prefix>1", "<prefix>2", ... with one path list each; the names of extension values have
// none.
template <Literal prefix, std::size_t count>
consteval auto NumberedRows(const std::array<std::string_view, count>& paths) {
  return [&]<std::size_t... i>(std::index_sequence<i...>) {
    return std::array{MapRow{joined<prefix, DecimalLiteral<i + 1>()>, paths[i]}...};
  }
  (std::make_index_sequence<count>());
}

template <Literal prefix, std::size_t count>
consteval auto NameRows() {
  return NumberedRows<prefix>(std::array<std::string_view, count>{});
}

template <std::size_t... sizes>
consteval auto JoinRows(const std::array<MapRow, sizes>&... lists) {
  std::array<MapRow, (sizes + ...)> rows{};
  auto* end = rows.begin();
  ((end = std::copy(lists.begin(), lists.end(), end)), ...);
  return rows;
}

// clang-format off
constexpr std::array ssdt_head = {
    MapRow{"ssdt_format",     "General.Time.DateFormat"},
    MapRow{"ssdt_ntp_en",     "General.Time.SyncSource"},
    MapRow{"ssdt_ntp_addr_1", "General.Time.NTP.ManualServer"},
    MapRow{"ssdt_ntp_addr_2", "General.Time.NTP.ManualServer1"},
    MapRow{"ssdt_ntp_addr_3", "General.Time.NTP.ManualServer2"},
    MapRow{"ssdt_ntp_addr_4", "General.Time.NTP.ManualServer3"},
    MapRow{"ssdt_timezone",   "General.Time.TimeZone"},
};

constexpr std::array sssc_head = {
    MapRow{"sssc_username_1", "General.UserID.Admin"},
    MapRow{"sssc_username_2", "General.UserID.U0.User"},
    MapRow{"sssc_username_3", "General.UserID.U1.User"},
    MapRow{"sssc_username_4", "General.UserID.U2.User"},
    MapRow{"sssc_username_5", "General.UserID.U3.User"},
    MapRow{"sssc_password_1", "General.UserID.Admin"},
    MapRow{"sssc_password_2", "General.UserID.U0.User"},
    MapRow{"sssc_password_3", "General.UserID.U1.User"},
    MapRow{"sssc_password_4", "General.UserID.U2.User"},
    MapRow{"sssc_password_5", "General.UserID.U3.User"},
    MapRow{"sssc_group_1",    ""},
    MapRow{"sssc_group_2",    "General.UserID.U0.User"},
    MapRow{"sssc_group_3",    "General.UserID.U1.User"},
    MapRow{"sssc_group_4",    "General.UserID.U2.User"},
    MapRow{"sssc_group_5",    "General.UserID.U3.User"},
};

constexpr std::array ssnt_head = {
    MapRow{"ssnt_dhcp_en",    "General.Network.eth0.BootProto"},
    MapRow{"ssnt_addr",       "General.Network.eth0.IPAddress"},
    MapRow{"ssnt_mask",       "General.Network.eth0.SubnetMask"},
    MapRow{"ssnt_gateway",    "General.Network.eth0.DefaultRouter"},
    MapRow{"ssnt_dns_auto",   "General.Network.eth0.DNSAuto"},
    MapRow{"ssnt_dns_addr_1", "General.Network.eth0.DNSServer1"},
    MapRow{"ssnt_dns_addr_2", "General.Network.eth0.DNSServer2"},
    MapRow{"ssnt_http_port",  "General.System.HTTPPort"},
    MapRow{"ssnt_rtsp_port",  "General.Network.RTSP.Port"},
};
constexpr auto ssnt_values = TextList<8>({
    "General.Network.eth0.IPv6Address",
    "General.Network.UPnP.Enabled",
    "General.Network.UPnP.NATTraversal.Enabled",
    "General.Network.UPnP.NATTraversal.HTTPPort",
    "General.Network.UPnP.NATTraversal.HTTPSPort",
    "General.Network.UPnP.NATTraversal.RTSPPort",
});

constexpr std::array lvim_head = {
    MapRow{"lvim_flip",            "ImageSource.I0.Sensor.Flip,ImageSource.I0.Sensor.Mirror"},
    MapRow{"lvim_videoprofile",    ""},
    MapRow{"lvim_snapshotprofile", ""},
    MapRow{"lvim_ovl_en",          "Image.OSD.Date,Image.OSD.Title"},
    MapRow{"lvim_ovl_format",      "Image.OSD.Alias,Image.OSD.Title,Image.OSD.Date"},
    MapRow{"lvim_autobr_en",       ""},
    MapRow{"lvim_brightness",      "ImageSource.I0.Sensor.Brightness"},
    MapRow{"lvim_autoct_en",       ""},
    MapRow{"lvim_contrast",        "ImageSource.I0.Sensor.Contrast"},
    MapRow{"lvim_saturation",      "ImageSource.I0.Sensor.Saturation"},
    MapRow{"lvim_sharpness",       "ImageSource.I0.Sensor.Sharpness"},
    MapRow{"lvim_whitebalance",    "ImageSource.I0.Sensor.WhiteBalance"},
    MapRow{"lvim_autoex_en",       "ImageSource.I0.Sensor.PowerFrequency"},
    MapRow{"lvim_autoex_freq",     "ImageSource.I0.Sensor.PowerFrequency"},
    MapRow{"lvim_autoex_min",      "ImageSource.I0.Sensor.ShutterSpeedMin"},
    MapRow{"lvim_autoex_max",      "ImageSource.I0.Sensor.ShutterSpeedMax"},
    MapRow{"lvim_exposure",        ""},
    MapRow{"lvim_autog_en",        "ImageSource.I0.Sensor.PowerFrequency"},
    MapRow{"lvim_autog_min",       "ImageSource.I0.Sensor.GainMin"},
    MapRow{"lvim_autog_max",       "ImageSource.I0.Sensor.GainMax"},
    MapRow{"lvim_gain",            ""},
    MapRow{"lvim_autowdr_en",      "ImageSource.I0.Sensor.WideDynamicRange.ModeSpk"},
    MapRow{"lvim_wdr",             "ImageSource.I0.Sensor.WideDynamicRange.ModeSpk,ImageSource.I0.Sensor.WideDynamicRange.Level"},
    MapRow{"lvim_autodn_en",       "ImageSource.I0.Sensor.DeNoise.Mode"},
    MapRow{"lvim_denoise",         "ImageSource.I0.Sensor.DeNoise.Mode,ImageSource.I0.Sensor.DeNoise.DeNoiseY"},
};
constexpr auto lvim_values = TextList<16>({
    "ImageSource.I0.Sensor.DeNoise.DeNoise3D",
    "ImageSource.I0.DeFog.Mode",
    "ImageSource.I0.Sensor.ExpTarget",
    "ImageSource.I0.Sensor.ColorTone",
    "ImageSource.I0.Sensor.Rotate.Angle",
    "ImageSource.I0.Sensor.LowLightBehavior.Enabled",
    "ImageSource.I0.Sensor.LowLightBehavior.ExpTarget",
    "ImageSource.I0.Sensor.LowLightBehavior.ShutterSpeedMin",
    "ImageSource.I0.Sensor.LowLightBehavior.ShutterSpeedMax",
    "ImageSource.I0.Sensor.LowLightBehavior.GainMin",
    "ImageSource.I0.Sensor.LowLightBehavior.GainMax",
    "ImageSource.I0.Sensor.LowLightBehavior.Mode",
    "ImageSource.I0.Sensor.LowLightBehavior.ScheduleIdx",
    "Image.OSD.TextColor,Image.OSD.BkColor,Image.OSD.Position",
    "ImageSource.I0.Sensor.DeNoise.Mode,ImageSource.I0.Sensor.DeNoise.ScheduleIdx",
});

constexpr std::array lvln_head = {
    MapRow{"lvln_autofc_en", "Properties.Lens.Type"},
    MapRow{"lvln_focus",     "ImageSource.I0.LensControl.FocusPos"},
    MapRow{"lvln_fc_speed",  "PTZ.Speed.FocusSpeed"},
    MapRow{"lvln_autoir_en", "ImageSource.I0.Iris.Type"},
    MapRow{"lvln_iris",      "ImageSource.I0.Iris.Type,ImageSource.I0.Iris.Value"},
    MapRow{"lvln_ir_speed",  "PTZ.Speed.IrisSpeed"},
    MapRow{"lvln_zoom",      "ImageSource.I0.LensControl.ZoomPos"},
    MapRow{"lvln_zm_speed",  "PTZ.Speed.ZoomSpeed"},
};
constexpr auto lvln_values = TextList<8>({
    "ImageSource.I0.LensControl.Smart.Method",
});

constexpr std::array lvad_head = {
    MapRow{"lvad_encoding", "Audio.AudioSource.A0.AudioEncoding"},
    MapRow{"lvad_sampling", "Audio.AudioSource.A0.AMR.AudioCodecBitRate"},
    MapRow{"lvad_denoise",  "Audio.AudioSource.A0.AudioDenoise.Level"},
    MapRow{"lvad_insource", "Audio.AudioSource.A0.AudioInputType"},
    MapRow{"lvad_ingain",   "Audio.AudioSource.A0.AudioInputGain"},
    MapRow{"lvad_outsink",  "Properties.Audio.OutputType"},
    MapRow{"lvad_outgain",  "Audio.AudioSource.A0.AudioOutputGain"},
};
constexpr auto lvad_values = TextList<8>({
    "Audio.AudioSource.A0.AudioMode",
});

constexpr std::array lvdn_head = {
    MapRow{"lvdn_autodn_en", "ImageSource.I0.IR.ICRType"},
    MapRow{"lvdn_daynight",  "ImageSource.I0.IR.ICRType"},
    MapRow{"lvdn_dn_delay",  "ImageSource.I0.IR.LeastTime.DayToNight"},
    MapRow{"lvdn_ir_thmin",  "ImageSource.I0.IR.LowTh"},
    MapRow{"lvdn_ir_thmax",  "ImageSource.I0.IR.HighTh"},
    MapRow{"lvdn_irled",     "ImageSource.I0.IR.Type"},
};
constexpr auto lvdn_values = TextList<8>({
    "ImageSource.I0.SmartIR",
    "ImageSource.I0.IR.Level",
    "ImageSource.I0.IR.Level2",
    "ImageSource.I0.IR.ScheduleIdx",
});

// The four profiles differ in their digit; the capture mode travels with the first one only.
template <Literal profile>
constexpr std::array stpf_head = {
    MapRow{"stpf_pf_name",           joined<"StreamProfile.", profile, ".Video.Name">},
    MapRow{"srpf_pf_videoencoder",   joined<"StreamProfile.", profile, ".Video.Codec">},
    MapRow{"stpf_pf_hres",           joined<"StreamProfile.", profile, ".Video.Resolution">},
    MapRow{"stpf_pf_vres",           joined<"StreamProfile.", profile, ".Video.Resolution">},
    MapRow{"stpf_pf_fps100",         joined<"StreamProfile.", profile, ".Video.FPS">},
    MapRow{"stpf_pf_profile",        joined<"StreamProfile.", profile, ".Video.Codec,StreamProfile.", profile, ".Video.Profile">},
    MapRow{"stpf_pf_gop",            joined<"StreamProfile.", profile, ".Video.FPS">},
    MapRow{"stpf_pf_ratecontrol",    joined<"StreamProfile.", profile, ".Video.Quality.Mode">},
    MapRow{"stpf_pf_CBR_bitrate",    joined<"StreamProfile.", profile, ".Video.Quality.BitRate">},
    MapRow{"stpf_pf_CBR_minquality", joined<"StreamProfile.", profile, ".Video.Quality.BitRate">},
    MapRow{"stpf_pf_VBR_quality",    joined<"StreamProfile.", profile, ".Video.Quality.Quant">},
    MapRow{"stpf_pf_VBR_maxrate",    joined<"StreamProfile.", profile, ".Video.Quality.MaxBitRate">},
    MapRow{"stpf_pf_ovl_en",         joined<"StreamProfile.", profile, ".OSD.Enabled">},
    MapRow{"stpf_pf_audio_en",       joined<"StreamProfile.", profile, ".Audio.Enabled">},
};
template <Literal profile, Literal capture_mode>
constexpr auto stpf_values = TextList<16>({
    joined<"StreamProfile.", profile, ".Video.ZIP.LV">,
    joined<"StreamProfile.", profile, ".Video.Description">,
    joined<"StreamProfile.", profile, ".Video.Roi.Enabled">,
    joined<capture_mode>,
});

constexpr std::array srin_head = {
    MapRow{"srin_sdcard_en",           "Event.MemoryCard.Enabled"},
    MapRow{"srin_rec_continuous",      "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Enabled"},
    MapRow{"srin_rec_onevent",         "Event.MemoryCard.Enabled"},
    MapRow{"srin_rec_event_media",     "Event.MemoryCard.Media.Type"},
    MapRow{"srin_rec_preevent",        "Event.MemoryCard.Media.PreAlarm"},
    MapRow{"srin_rec_postevent",       "Event.MemoryCard.Media.PostAlarm"},
    MapRow{"srin_rec_videoprofile",    "ImageSource.RecordIndex"},
    MapRow{"srin_rec_snapshotprofile", "ImageSource.SnapshotIndex"},
    MapRow{"srin_maxdays",             ""},
};
constexpr auto srin_values = TextList<8>({
    "Event.MemoryCard.Overwrite",
    "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.FileSize",
    "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Period",
    "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Schedule",
    "Event.Scheduled.S0.Name",
});

constexpr std::array srex_head = {
    MapRow{"srex_rec_en",              "Event.Server.S%d.Type"},
    MapRow{"srex_server_type",         "Event.Server.S%d.Protocol"},
    MapRow{"srex_srv_domain",          "Event.Server.S%d.Workgroup"},
    MapRow{"srex_srv_addr",            "Event.Server.S%d.Location"},
    MapRow{"srex_srv_path",            "Event.Server.S%d.Location"},
    MapRow{"srex_srv_tcpport_1",       ""},
    MapRow{"srex_srv_tcpport_2",       ""},
    MapRow{"srex_srv_udpport_1",       ""},
    MapRow{"srex_srv_udpport_2",       ""},
    MapRow{"srex_srv_ftppasv",         ""},
    MapRow{"srex_srv_auth",            "Event.Server.S%d.Password"},
    MapRow{"srex_srv_username",        "Event.Server.S%d.Username"},
    MapRow{"srex_srv_password",        "Event.Server.S%d.Password"},
    MapRow{"srex_rec_continuous",      "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Enabled"},
    MapRow{"srex_rec_onevent",         "Event.Server.S%d.Type"},
    MapRow{"srex_rec_event_media",     "Event.Media.M%d.Type"},
    MapRow{"srex_rec_preevent",        "Event.Media.M%d.PreAlarm"},
    MapRow{"srex_rec_postevent",       "Event.Media.M%d.PostAlarm"},
    MapRow{"srex_rec_videoprofile",    "ImageSource.RecordIndex"},
    MapRow{"srex_rec_snapshotprofile", "ImageSource.SnapshotIndex"},
    MapRow{"srex_maxdays",             ""},
    MapRow{"srex_maxsize",             "Event.Server.S%d.CyclicSize"},
};
constexpr auto srex_values = TextList<7>({
    "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.FileSize",
    "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Period",
    "Event.Scheduled.S0.ServerType,Event.Scheduled.S0.Schedule",
    "Event.Server.S%d.Name",
    "Event.Scheduled.S0.Name",
});

constexpr auto ssnt_rows = JoinRows(ssnt_head, NameRows<"ssnt_pname_", 8>(),     NumberedRows<"ssnt_pvalue_">(ssnt_values));
constexpr auto lvim_rows = JoinRows(lvim_head, NameRows<"lvim_dn_pname_", 16>(), NumberedRows<"lvim_dn_pvalue_">(lvim_values));
constexpr auto lvln_rows = JoinRows(lvln_head, NameRows<"lvln_pname_", 8>(),     NumberedRows<"lvln_pvalue_">(lvln_values));
constexpr auto lvad_rows = JoinRows(lvad_head, NameRows<"lvad_pname_", 8>(),     NumberedRows<"lvad_pvalue_">(lvad_values));
constexpr auto lvdn_rows = JoinRows(lvdn_head, NameRows<"lvdn_ir_pname_", 8>(),  NumberedRows<"lvdn_ir_pvalue_">(lvdn_values));
constexpr auto srin_rows = JoinRows(srin_head, NameRows<"srin_pname_", 8>(),     NumberedRows<"srin_pvalue_">(srin_values));
constexpr auto srex_rows = JoinRows(srex_head, NameRows<"srex_pname_", 8>(),     NumberedRows<"srex_pvalue_">(srex_values));
template <Literal profile, Literal capture_mode>
constexpr auto stpf_rows = JoinRows(stpf_head<profile>, NameRows<"stpf_pf_pname_", 16>(),
                                    NumberedRows<"stpf_pf_pvalue_">(stpf_values<profile, capture_mode>));
// clang-format on

template <std::size_t rows, std::size_t fields>
consteval SectionMap Map(std::uint32_t type, const std::array<MapRow, rows>& row_list,
                         const std::array<FieldFormat, fields>& field_list) {
  static_assert(rows <= fields);
  return {type, static_cast<std::int32_t>(rows), row_list.data(), field_list.data()};
}

constexpr std::array<SectionMap, chain_sections + 1> maps = {{
    {identification_type, 0, nullptr, nullptr},
    Map(1, ssdt_head, ssdt_fields),
    Map(2, sssc_head, sssc_fields),
    Map(3, ssnt_rows, ssnt_fields),
    Map(4, lvim_rows, lvim_fields),
    Map(5, lvln_rows, lvln_fields),
    Map(6, lvad_rows, lvad_fields),
    Map(7, lvdn_rows, lvdn_fields),
    Map(8, stpf_rows<"I0", "ImageSource.I0.Config.CaptureMode">, stpf_fields),
    Map(8, stpf_rows<"I1", "">, stpf_fields),
    Map(8, stpf_rows<"I2", "">, stpf_fields),
    Map(8, stpf_rows<"I3", "">, stpf_fields),
    Map(9, srin_rows, srin_fields),
    Map(10, srex_rows, srex_fields),
    {0xFFFFFFFF, -1, nullptr, nullptr},
}};

// The rows of a map cover the payload up to here; in the last section one field has no row.
consteval std::size_t MappedBytes(const SectionMap& map) {
  std::size_t size = 0;
  for (std::int32_t i = 0; i < map.row_count; ++i) size += map.fields[i].size;
  return size;
}

// The address at which the section at a chain position lies.
consteval std::size_t AddressAt(std::size_t position) {
  constexpr std::size_t rowless_bytes = PayloadSize(srex_fields) - MappedBytes(maps[13]);
  std::size_t address = 0;
  for (std::size_t i = 0; i < position; ++i) {
    const std::size_t mapped =
        i == 0 ? PayloadSize(identification_fields) : MappedBytes(maps.at(i));
    address += SECTION_HEADER_SIZE + mapped + (i == 13 ? rowless_bytes : 0);
  }
  return address;
}

consteval bool TextsFit() {
  return std::all_of(maps.begin(), maps.end(), [](const SectionMap& map) {
    return map.row_count <= 0 || std::all_of(map.rows, map.rows + map.row_count, [](MapRow row) {
             return !row.key.empty() && row.key.size() < 64 && row.path.size() < 256 &&
                    std::count(row.path.begin(), row.path.end(), ',') < int{max_row_paths};
           });
  });
}

consteval bool NamesFit(ExtensionNames names) {
  return std::all_of(names.begin(), names.end(), [](auto name) { return name.size() < 16; });
}

// clang-format off
static_assert(maps[1].row_count == 7   && maps[2].row_count == 15  && maps[3].row_count == 25);
static_assert(maps[4].row_count == 57  && maps[5].row_count == 24  && maps[6].row_count == 23);
static_assert(maps[7].row_count == 22  && maps[8].row_count == 46  && maps[11].row_count == 46);
static_assert(maps[12].row_count == 25 && maps[13].row_count == 37 && maps[14].row_count == -1);
static_assert(AddressAt(1) == 45    && AddressAt(2) == 248    && AddressAt(3) == 582);
static_assert(AddressAt(4) == 1397  && AddressAt(5) == 2848   && AddressAt(6) == 3511);
static_assert(AddressAt(7) == 4171  && AddressAt(8) == 4829   && AddressAt(9) == 6179);
static_assert(AddressAt(10) == 7529 && AddressAt(11) == 8879  && AddressAt(12) == 10229);
static_assert(AddressAt(13) == 10952 && AddressAt(14) == 12074);
static_assert(MappedBytes(maps[13]) == 1049);
static_assert(TextsFit());
static_assert(NamesFit(ssnt_names) && NamesFit(lvim_names) && NamesFit(lvln_names) && NamesFit(lvad_names));
static_assert(NamesFit(lvdn_names) && NamesFit(stpf_names) && NamesFit(srin_names) && NamesFit(srex_names));
// clang-format on

}  // namespace

const std::array<SectionMap, chain_sections + 1> section_maps = maps;

const SectionMap& Map_At(std::size_t position) {
  return section_maps[std::min(position, chain_sections)];
}

std::span<const MapRow> Map_Rows(const SectionMap& map) {
  return {map.rows, static_cast<std::size_t>(std::max(map.row_count, 0))};
}

std::uint32_t Map_FieldOffset(const SectionMap& map, std::size_t row) {
  return static_cast<std::uint32_t>(FieldOffset({map.fields, row}, row));
}

RowPaths Map_SplitPaths(std::string_view paths) {
  RowPaths split;
  while (!paths.empty() && split.count < max_row_paths) {
    const std::string_view path = paths.substr(0, paths.find(','));
    if (!path.empty()) split.path[split.count++] = path;
    paths.remove_prefix(std::min(path.size() + 1, paths.size()));
  }
  return split;
}
