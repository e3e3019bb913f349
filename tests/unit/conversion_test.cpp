// SPDX-License-Identifier: MIT
// What each field makes of a configuration value, and what comes back: one row a case.
#include "param/conversion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "param/base64.h"
#include "param/section_map.h"
#include "param/value_slot.h"
#include "sections/section.h"
#include "tests/fakes/fake_machine.h"

namespace {

using Texts = std::vector<std::string>;

struct Place {
  const SectionMap* map;
  std::size_t row;
};

Place Find(std::string_view key) {
  for (const SectionMap& map : section_maps) {
    const auto rows = Map_Rows(map);
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (rows[row].key == key) return {&map, row};
    }
  }
  ADD_FAILURE() << "no row has the key " << key;
  return {&section_maps[1], 0};
}

SectionRecord NewRecord(SectionType type) {
  SectionRecord record;
  record.type = type;
  EXPECT_TRUE(Section_Prepare(record));
  return record;
}

std::span<std::uint8_t> FieldOf(SectionRecord& record, std::string_view key) {
  const Place place = Find(key);
  return Section_Field(record, FieldOffset(place.map->fields, place.row),
                       place.map->fields[place.row].format.size);
}

// A number as "#<decimal>" with the field's sign, a text as it stands.
std::string Show(SectionRecord& record, std::string_view key) {
  const Place place = Find(key);
  const auto field = FieldOf(record, key);
  const std::uint32_t value = Field_Number(field);
  switch (place.map->fields[place.row].format.kind) {
    case MAP_TEXT:
      return std::string(Field_Text(field));
    case MAP_S16:
      return "#" + std::to_string(static_cast<std::int16_t>(value));
    case MAP_WORD32:
      return "#" + std::to_string(static_cast<std::int32_t>(value));
    default:
      return "#" + std::to_string(value);
  }
}

void Set(SectionRecord& record, std::string_view key, std::string_view shown) {
  const auto field = FieldOf(record, key);
  if (shown.starts_with('#')) {
    Field_SetNumber(field, static_cast<std::uint32_t>(Text_ToInt(shown.substr(1))));
  } else {
    std::fill(field.begin(), field.end(), std::uint8_t{0});
    std::copy_n(shown.begin(), std::min(shown.size(), field.size()), field.begin());
  }
}

void Store(SectionRecord& record, std::string_view key, const Texts& values) {
  const Place place = Find(key);
  ValueSlots slots{};
  for (std::size_t i = 0; i < values.size(); ++i) Slot_SetText(slots[i], values[i]);
  EXPECT_EQ(0, Param_ConfigToSection(slots, key, record, FieldOffset(place.map->fields, place.row),
                                     place.map->fields[place.row].format));
}

Texts Restore(SectionRecord& record, std::string_view key) {
  const Place place = Find(key);
  ValueSlots slots{};
  EXPECT_EQ(0, Param_SectionToConfig(record, slots, key, FieldOffset(place.map->fields, place.row),
                                     place.map->fields[place.row].format));
  Texts values;
  for (const ValueSlot& slot : slots) values.emplace_back(Slot_Text(slot));
  while (!values.empty() && values.back().empty()) values.pop_back();
  return values;
}

// "=": the field keeps what it held before; nothing is then restored from it here.
constexpr std::string_view unchanged = "=";

struct Case {
  std::string_view key;
  Texts values;
  std::string_view stored;
  Texts restored;
};

const std::string long_text(127, 'x');
const std::string x31(31, 'x');
const std::string x63(63, 'x');

// clang-format off
const std::vector<Case> cases = {
    {"ssdt_format", {"ymd"}, "#0", {"ymd"}}, {"ssdt_format", {"mdy"}, "#1", {"mdy"}},
    {"ssdt_format", {"dmy"}, "#2", {"dmy"}}, {"ssdt_format", {"xyz"}, "#2", {"dmy"}},
    {"ssdt_ntp_en", {"NTP"}, "#1", {"NTP"}}, {"ssdt_ntp_en", {"Manual"}, "#0", {"Done"}},
    {"ssdt_ntp_addr_4", {"pool.example"}, "pool.example", {"pool.example"}},
    {"ssdt_ntp_addr_1", {long_text}, x31, {x31}}, {"ssdt_ntp_addr_1", {x31}, x31, {x31}},
    {"ssdt_timezone", {"GMT 08:00/Asia/Taipei"}, "Asia/Taipei", {"GMT 08:00/Asia/Taipei"}},
    {"ssdt_timezone", {"GMT-07:00/America/Tegucigalpa"}, "America/Tegucigalpa", {"GMT-07:00/America/Tegucigalpa"}},
    {"ssdt_timezone", {"UTC/Mars"}, "Mars", {}}, {"ssdt_timezone", {"UTC"}, unchanged, {}},

    {"ssnt_dhcp_en", {"dhcp"}, "#1", {"dhcp"}}, {"ssnt_dhcp_en", {"static"}, "#0", {"none"}},
    {"ssnt_dns_auto", {"on"}, "#1", {"on"}}, {"ssnt_dns_auto", {""}, "#0", {"off"}},
    {"ssnt_addr", {"192.0.2.7"}, "192.0.2.7", {"192.0.2.7"}},
    {"ssnt_http_port", {"8080"}, "#8080", {"8080"}}, {"ssnt_http_port", {"65535"}, "#65535", {"65535"}},
    {"ssnt_http_port", {"65616"}, "#80", {"80"}}, {"ssnt_http_port", {"99999999999"}, "#65535", {"65535"}},
    {"ssnt_http_port", {"-99999999999"}, "#0", {"0"}}, {"ssnt_http_port", {" 80 "}, "#80", {"80"}},
    {"ssnt_http_port", {"web"}, "#0", {"0"}},
    {"ssnt_pname_1", {""}, "ipv6_addr", {"ipv6_addr"}}, {"ssnt_pname_7", {""}, "", {}},
    {"ssnt_pvalue_1", {"2001:db8::7"}, "2001:db8::7", {"2001:db8::7"}},
    {"ssnt_pvalue_2", {long_text}, x63, {x63}},

    {"lvim_flip", {"off", "off"}, "#0", {"off", "off"}}, {"lvim_flip", {"on", "off"}, "#1", {"on", "off"}},
    {"lvim_flip", {"off", "on"}, "#2", {"off", "on"}}, {"lvim_flip", {"on", "on"}, "#3", {"on", "on"}},
    {"lvim_flip", {"on", ""}, "#3", {"on", "on"}}, {"lvim_ovl_en", {"off", "on"}, "#2", {"off", "on"}},
    {"lvim_videoprofile", {""}, "Profile1", {"Profile1"}}, {"lvim_autobr_en", {"5"}, "#0", {}},
    {"lvim_ovl_format", {"Cam", "on", "on"}, "Cam %T", {"Cam", "on", "on"}},
    {"lvim_ovl_format", {"Cam", "on", "off"}, "Cam", {"Cam", "on", "off"}},
    {"lvim_ovl_format", {"Cam", "off", "on"}, "%T", {"", "off", "on"}},
    {"lvim_ovl_format", {"Cam", "off", "off"}, unchanged, {}},
    {"lvim_ovl_format", {"Front Door", "on", "on"}, "Front Door %T", {"Front", "on", "on"}},
    {"lvim_ovl_format", {"Tom", "on", "off"}, "Tom", {"om", "on", "off"}},
    {"lvim_ovl_format", {" %", "on", "off"}, " %", {"", "on", "off"}},
    {"lvim_ovl_format", {long_text, "on", "on"}, x63, {x63, "on", "off"}},
    {"lvim_brightness", {"75"}, "#50", {"75"}}, {"lvim_brightness", {"0"}, "#-100", {"0"}},
    {"lvim_sharpness", {"100"}, "#100", {"100"}}, {"lvim_contrast", {"50"}, "#0", {"50"}},
    {"lvim_saturation", {"40000"}, "#14364", {"7232"}},
    {"lvim_whitebalance", {"auto"}, "#0", {"auto"}}, {"lvim_whitebalance", {"incandescent"}, "#1", {"incandescent"}},
    {"lvim_whitebalance", {"fluorescent"}, "#3", {"fluorescent"}}, {"lvim_whitebalance", {"sunny"}, "#4", {"sunny"}},
    {"lvim_whitebalance", {"sun_shade"}, "#5", {"sun_shade"}}, {"lvim_whitebalance", {"cloudy"}, "#6", {"cloudy"}},
    {"lvim_whitebalance", {"manual"}, "#7", {"manual"}}, {"lvim_whitebalance", {"hold"}, "#8", {"hold"}},
    {"lvim_whitebalance", {"blue"}, unchanged, {}},
    {"lvim_autoex_en", {"hold"}, "#0", {"hold"}}, {"lvim_autoex_en", {"60"}, "#1", {}},
    {"lvim_autog_en", {"hold"}, "#0", {"hold"}}, {"lvim_autog_en", {""}, "#1", {}},
    {"lvim_autoex_freq", {"auto"}, "#0", {}}, {"lvim_autoex_freq", {"hold"}, "#0", {}},
    {"lvim_autoex_freq", {"50"}, "#1", {"50"}}, {"lvim_autoex_freq", {"60"}, "#2", {"60"}},
    {"lvim_autoex_freq", {"70"}, unchanged, {}},
    {"lvim_autoex_max", {"33333"}, "#33333", {"33333"}},
    {"lvim_autowdr_en", {"auto"}, "#1", {"auto"}}, {"lvim_autodn_en", {"on"}, "#0", {}},
    {"lvim_wdr", {"off", "300"}, "#0", {"off"}}, {"lvim_wdr", {"on", "300"}, "#300", {"on", "300"}},
    {"lvim_wdr", {"on", "40000"}, "#-25536", {"on", "-25536"}},
    {"lvim_denoise", {"off", "7"}, "#0", {"off"}}, {"lvim_denoise", {"manual", "-7"}, "#-7", {"", "-7"}},
    {"lvim_dn_pname_15", {""}, "denoise2d", {"denoise2d"}}, {"lvim_dn_pname_16", {""}, "", {}},
    {"lvim_dn_pvalue_14", {"white", "black", "top"}, "white,black,top", {"white", "black", "top"}},
    {"lvim_dn_pvalue_14", {"", "black", "top"}, ",black,top", {"", "black", "top"}},
    {"lvim_dn_pvalue_15", {"schedule", "2"}, "schedule,2", {"schedule", "2"}},
    {"lvim_dn_pvalue_14", {long_text, long_text, long_text}, x63, {x63}},

    {"lvln_autofc_en", {"motorized"}, "#1", {"motorized"}}, {"lvln_autofc_en", {"fixed"}, "#0", {}},
    {"lvln_focus", {"-100"}, "#-100", {"-100"}}, {"lvln_focus", {"0"}, "#0", {}},
    {"lvln_zoom", {"65534"}, "#-2", {"-2"}}, {"lvln_fc_speed", {"-1"}, "#0", {"0"}},
    {"lvln_fc_speed", {"-2"}, "#-2", {"-2"}}, {"lvln_autoir_en", {"auto"}, "#1", {"auto"}},
    {"lvln_iris", {"open", "250"}, "#10000", {"open"}}, {"lvln_iris", {"manual", "250"}, "#250", {"manual", "250"}},
    {"lvln_pname_1", {""}, "refocus_method", {"refocus_method"}},

    {"lvad_encoding", {"AAC"}, "#0", {"AAC"}}, {"lvad_encoding", {"AMR"}, "#1", {"AMR"}},
    {"lvad_encoding", {"g.711_u-law"}, "#2", {"g.711_u-law"}}, {"lvad_encoding", {"g.711_a-law"}, "#3", {"g.711_a-law"}},
    {"lvad_encoding", {"g.726"}, "#4", {"g.726"}}, {"lvad_encoding", {"mp3"}, unchanged, {}},
    {"lvad_sampling", {"8k"}, "#8000", {"8k"}}, {"lvad_sampling", {"22.05k"}, "#22050", {"22.05k"}},
    {"lvad_sampling", {"8"}, "#8000", {"8k"}}, {"lvad_sampling", {"70k"}, unchanged, {}},
    {"lvad_sampling", {"nank"}, unchanged, {}}, {"lvad_sampling", {"fast"}, unchanged, {}},
    {"lvad_denoise", {"high"}, "#100", {"high"}}, {"lvad_denoise", {"low"}, "#50", {"low"}},
    {"lvad_denoise", {"medium"}, "#0", {"off"}},
    {"lvad_insource", {"linein"}, "#1", {"linein"}}, {"lvad_insource", {"micin"}, "#2", {"micin"}},
    {"lvad_outsink", {"lineout"}, "#1", {"lineout"}}, {"lvad_outsink", {"speaker"}, "#2", {"speaker"}},
    {"lvad_outsink", {"none"}, unchanged, {}},
    {"lvad_ingain", {"mute"}, "#-1", {"-1"}}, {"lvad_outgain", {"42"}, "#42", {"42"}},

    {"lvdn_autodn_en", {"auto"}, "#1", {"auto"}}, {"lvdn_autodn_en", {"schedule"}, "#0", {}},
    {"lvdn_daynight", {"off"}, "#1", {"off"}}, {"lvdn_daynight", {"on"}, "#2", {"on"}},
    {"lvdn_daynight", {"schedule"}, "#3", {"schedule"}}, {"lvdn_daynight", {"auto"}, "#0", {"auto"}},
    {"lvdn_irled", {"auto"}, "#0", {"auto"}}, {"lvdn_irled", {"on"}, "#1", {"on"}},
    {"lvdn_irled", {"off"}, "#2", {"off"}}, {"lvdn_irled", {"schedule"}, "#3", {"schedule"}},
    {"lvdn_irled", {"dim"}, unchanged, {}}, {"lvdn_dn_delay", {"40000"}, "#40000", {"40000"}},
    {"lvdn_ir_thmin", {"-1"}, "#-1", {"-1"}}, {"lvdn_ir_pname_4", {""}, "night_sch", {"night_sch"}},

    {"srpf_pf_videoencoder", {"MJPEG"}, "#0", {"MJPEG"}}, {"srpf_pf_videoencoder", {"H264"}, "#1", {"H264"}},
    {"srpf_pf_videoencoder", {"H265"}, "#2", {"H265"}}, {"srpf_pf_videoencoder", {"VP9"}, unchanged, {}},
    {"stpf_pf_fps100", {"30"}, "#3000", {"30"}}, {"stpf_pf_fps100", {"656"}, "#64", {"0"}},
    {"stpf_pf_profile", {"H264", "0"}, "#1", {"H264", "0"}}, {"stpf_pf_profile", {"H264", "1"}, "#2", {"H264", "1"}},
    {"stpf_pf_profile", {"H264", "2"}, "#3", {"H264", "2"}}, {"stpf_pf_profile", {"H264", "9"}, "#3", {"H264", "2"}},
    {"stpf_pf_profile", {"H265", "1"}, "#4", {"H265"}}, {"stpf_pf_profile", {"MJPEG", "1"}, "#0", {"MJPEG"}},
    {"stpf_pf_profile", {"VP9", ""}, "#0", {"MJPEG"}},
    {"stpf_pf_gop", {"25"}, "#25", {"25"}}, {"stpf_pf_gop", {"0"}, "#1", {"1"}}, {"stpf_pf_gop", {"65536"}, "#1", {"1"}},
    {"stpf_pf_ratecontrol", {"vbr"}, "#0", {"vbr"}}, {"stpf_pf_ratecontrol", {"cbr"}, "#1", {"cbr"}},
    {"stpf_pf_ratecontrol", {"best"}, unchanged, {}},
    {"stpf_pf_CBR_bitrate", {"512k"}, "#512000", {"512k"}}, {"stpf_pf_CBR_bitrate", {"2M"}, "#2000000", {"2M"}},
    {"stpf_pf_CBR_bitrate", {"1.5k"}, "#1000", {"1k"}}, {"stpf_pf_VBR_maxrate", {"1.5M"}, "#1500000", {"1.5M"}},
    {"stpf_pf_VBR_maxrate", {"4000M"}, unchanged, {}}, {"stpf_pf_VBR_maxrate", {"-2147.483648M"}, "#-2147483648", {"-2.14748e+06k"}}, {"stpf_pf_VBR_maxrate", {"4000"}, unchanged, {}},
    {"stpf_pf_VBR_maxrate", {"9999999999k"}, "#-1000", {"-1k"}},
    {"stpf_pf_VBR_quality", {"-3000000000"}, "#-2147483648", {"-2147483648"}},
    {"stpf_pf_ovl_en", {"off"}, "#1", {"on"}}, {"stpf_pf_audio_en", {"on"}, "#1", {"on"}},
    {"stpf_pf_audio_en", {"off"}, "#0", {"off"}}, {"stpf_pf_pname_4", {""}, "capture_mode", {"capture_mode"}},
    {"stpf_pf_pvalue_16", {"kept"}, "kept", {"kept"}},

    {"srin_sdcard_en", {"on"}, "#1", {"on"}}, {"srin_rec_onevent", {"off"}, "#0", {"off"}},
    {"srin_rec_continuous", {"LS", "on"}, "#1", {"LS", "on"}}, {"srin_rec_continuous", {"NS", "on"}, "#0", {}},
    {"srin_rec_continuous", {"LS", "off"}, "#0", {}},
    {"srin_rec_event_media", {"video"}, "#0", {"video"}}, {"srin_rec_event_media", {"snapshot"}, "#1", {"snapshot"}},
    {"srin_rec_event_media", {"audio"}, unchanged, {}},
    {"srin_rec_videoprofile", {"0"}, "Profile1", {"0"}}, {"srin_rec_snapshotprofile", {"2147483647"}, "Profile2147483648", {"2147483646"}},
    {"srin_pvalue_2", {"NS", "50"}, unchanged, {}},

    {"srex_rec_en", {"ns"}, "#1", {"ns"}}, {"srex_rec_onevent", {"ftp"}, "#0", {}},
    {"srex_server_type", {"cifs"}, "#1", {"cifs"}}, {"srex_server_type", {"nfs"}, "#2", {"nfs"}},
    {"srex_server_type", {"ftp"}, unchanged, {}}, {"srex_srv_auth", {"none"}, "#0", {"none"}},
    {"srex_srv_auth", {"secret"}, "#1", {}}, {"srex_srv_auth", {""}, "#0", {"none"}},
    {"srex_rec_continuous", {"NS", "on"}, "#1", {"NS", "on"}}, {"srex_rec_continuous", {"LS", "on"}, "#0", {}},
    {"srex_rec_event_media", {"snapshot"}, "#1", {"snapshot"}}, {"srex_rec_videoprofile", {"2"}, "Profile3", {"2"}},
    {"srex_maxsize", {"1024"}, "#1024", {"1024"}}, {"srex_maxsize", {"-1"}, "#-1", {"-1"}},
    {"srex_pname_5", {""}, "rec_name", {"rec_name"}},
};
// clang-format on

TEST(Conversion, FollowsEachFieldsRule) {
  for (const Case& each : cases) {
    SCOPED_TRACE(std::string(each.key) + " from \"" + each.values[0] + "\"");
    SectionRecord record = NewRecord(Find(each.key).map->type);
    const bool stays = each.stored == unchanged;
    const auto field = FieldOf(record, each.key);
    if (stays) std::fill(field.begin(), field.end(), std::uint8_t{0x55});
    const std::vector<std::uint8_t> before(field.begin(), field.end());
    Store(record, each.key, each.values);
    if (stays) {
      EXPECT_EQ(before, std::vector<std::uint8_t>(field.begin(), field.end()));
    } else {
      EXPECT_EQ(each.stored, Show(record, each.key));
      EXPECT_EQ(each.restored, Restore(record, each.key));
    }
  }
}

// Stored values that no configuration of ours would have produced.
TEST(Conversion, RestoresUnknownNumbersAsTheRuleSays) {
  const std::vector<Case> foreign = {
      {"ssdt_format", {}, "#7", {"dmy"}},
      {"ssdt_ntp_en", {}, "#2", {"Done"}},
      {"ssnt_dhcp_en", {}, "#255", {"none"}},
      {"lvim_flip", {}, "#9", {"on", "on"}},
      {"lvim_whitebalance", {}, "#2", {}},
      {"lvln_iris", {}, "#-1", {"manual", "-1"}},
      {"lvdn_daynight", {}, "#77", {"auto"}},
      {"lvdn_irled", {}, "#4", {}},
      {"lvad_encoding", {}, "#5", {}},
      {"lvad_denoise", {}, "#99", {"off"}},
      {"srpf_pf_videoencoder", {}, "#3", {"MJPEG"}},
      {"stpf_pf_profile", {}, "#5", {"H265"}},
      {"stpf_pf_profile", {}, "#6", {}},
      {"stpf_pf_CBR_bitrate", {}, "#-5", {"-0.005k"}},
      {"stpf_pf_ovl_en", {}, "#0", {"off"}},
      {"srin_sdcard_en", {}, "#2", {"off"}},
      {"srin_rec_videoprofile", {}, "Profil", {}},
      {"srex_srv_auth", {}, "#2", {}},
  };
  for (const Case& each : foreign) {
    SCOPED_TRACE(each.key);
    SectionRecord record = NewRecord(Find(each.key).map->type);
    Set(record, each.key, each.stored);
    EXPECT_EQ(each.restored, Restore(record, each.key));
  }
}

TEST(Conversion, ReadsNeighbouringFields) {
  SectionRecord image = NewRecord(SectionType{4});
  Set(image, "lvim_wdr", "#300");
  Set(image, "lvim_denoise", "#3");
  Set(image, "lvim_autowdr_en", "#1");
  Set(image, "lvim_autodn_en", "#1");
  EXPECT_EQ(Texts(), Restore(image, "lvim_wdr"));
  EXPECT_EQ(Texts(), Restore(image, "lvim_denoise"));

  SectionRecord lens = NewRecord(SectionType{5});
  Set(lens, "lvln_autoir_en", "#1");
  EXPECT_EQ(Texts(), Restore(lens, "lvln_iris"));

  SectionRecord stream = NewRecord(SectionType{8});
  Store(stream, "stpf_pf_hres", {"1920x1080"});
  EXPECT_EQ("#0", Show(stream, "stpf_pf_vres"));
  Store(stream, "stpf_pf_vres", {"1920x1080"});
  Store(stream, "stpf_pf_vres", {"1920"});
  EXPECT_EQ(Texts{"1920x1080"}, Restore(stream, "stpf_pf_hres"));
  EXPECT_EQ(Texts{"1920x1080"}, Restore(stream, "stpf_pf_vres"));
  Store(stream, "stpf_pf_CBR_minquality", {"3M"});
  EXPECT_EQ("#3000000", Show(stream, "stpf_pf_CBR_bitrate"));
  EXPECT_EQ("#3000000", Show(stream, "stpf_pf_CBR_minquality"));

  SectionRecord audio = NewRecord(SectionType{6});
  EXPECT_EQ(Texts{"micin"}, Restore(audio, "lvad_insource"));
  EXPECT_EQ("#2", Show(audio, "lvad_insource"));
}

TEST(Conversion, KeepsTheScheduleWithItsOwner) {
  for (const auto& [prefix, owner, type] : {std::tuple{"srin", "LS", 9U}, {"srex", "NS", 10U}}) {
    const std::string key = std::string(prefix) + "_pvalue_" + (type == 9 ? "3" : "2");
    SectionRecord record = NewRecord(SectionType{type});
    Store(record, key, {owner, "50%d%% of 8% smart%-5-d%.3.4d%"});
    EXPECT_EQ("50%d%% of 8% smart%-5-d%.3.4d%", Show(record, key));
    EXPECT_EQ(Texts(), Restore(record, key)) << "not while the schedule is another's";
    Store(record, std::string(prefix) + "_rec_continuous", {owner, "on"});
    EXPECT_EQ((Texts{owner, "50% of 8martd4d"}), Restore(record, key));
  }
}

TEST(Conversion, SplitsAndJoinsLocations) {
  const std::vector<std::array<std::string, 5>> locations = {
      {"cifs", "//host/share", "host", "/share", "//host/share"},
      {"nfs", "host:/export", "host", "/export", "host:/export"},
      {"nfs", "//a:b/c", "//a", "b/c", "//a:b/c"},
      {"cifs", "//host", "host", "", "//host"},
      {"cifs", "host", "", "", "//"},
      {"ftp", "//host/share", "host", "/share", ""},
  };
  for (const auto& [protocol, location, address, path, restored] : locations) {
    SectionRecord record = NewRecord(SectionType{10});
    Store(record, "srex_server_type", {protocol});
    Store(record, "srex_srv_addr", {location});
    Store(record, "srex_srv_path", {location});
    EXPECT_EQ(address, Show(record, "srex_srv_addr"));
    EXPECT_EQ(path, Show(record, "srex_srv_path"));
    EXPECT_EQ(restored.empty() ? Texts() : Texts{restored}, Restore(record, "srex_srv_addr"));
    EXPECT_EQ(restored.empty() ? Texts() : Texts{restored}, Restore(record, "srex_srv_path"));
  }
  SectionRecord full = NewRecord(SectionType{10});
  Set(full, "srex_server_type", "#1");
  Set(full, "srex_srv_addr", std::string(32, 'a'));
  Set(full, "srex_srv_path", std::string(256, 'p'));
  EXPECT_EQ(Texts{"//" + std::string(32, 'a') + std::string(93, 'p')},
            Restore(full, "srex_srv_path"));
}

std::string Encode(std::string_view text) {
  std::array<char, 256> encoded;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  return {encoded.data(), Param_Base64Encode({bytes, text.size()}, encoded)};
}

TEST(Conversion, StoresAndRestoresAccounts) {
  SectionRecord record = NewRecord(SectionType{2});
  const auto store = [&](int user, const std::string& value) {
    for (const char* field : {"sssc_username_", "sssc_password_", "sssc_group_"}) {
      Store(record, field + std::to_string(user), {value});
    }
  };
  store(1, Encode("admin:pa:ss"));
  EXPECT_EQ("admin", Show(record, "sssc_username_1"));
  EXPECT_EQ("pa:ss", Show(record, "sssc_password_1"));
  EXPECT_EQ(Texts{Encode("admin:pa:ss")}, Restore(record, "sssc_password_1"));

  const std::vector<std::pair<std::string, std::string>> groups = {
      {"01000001", "#0"}, {"00010001", "#1"}, {"00000100", "#2"}, {"01010100", "#0"}};
  for (const auto& [flags, group] : groups) {
    store(3, Encode("bob:word") + "," + flags + ",ignored");
    EXPECT_EQ(group, Show(record, "sssc_group_3"));
  }
  store(3, Encode("bob:word") + ",00010001");
  for (const char* key : {"sssc_username_3", "sssc_password_3", "sssc_group_3"}) {
    EXPECT_EQ(Texts{Encode("bob:word") + ",00010001"}, Restore(record, key));
  }
  store(3, Encode("eve") + ",00000000");  // no password, no group: both stay
  EXPECT_EQ(Texts{Encode("eve:word") + ",00010001"}, Restore(record, "sssc_group_3"));
  Set(record, "sssc_group_3", "#3");
  EXPECT_EQ(Texts{Encode("eve:word") + ","}, Restore(record, "sssc_username_3"));

  const std::string long_name(40, 'n');
  const std::string long_word(40, 'w');
  store(5, Encode(long_name + ":" + long_word) + ",00000100");
  EXPECT_EQ(std::string(31, 'n'), Show(record, "sssc_username_5"));
  Set(record, "sssc_username_5", std::string(32, 'n'));  // no terminator in the field
  const std::string restored = Restore(record, "sssc_username_5")[0];
  EXPECT_EQ(Encode(std::string(32, 'n') + ":" + std::string(31, 'w')) + ",00000100", restored);
  EXPECT_EQ('\n', restored[72]);
  EXPECT_EQ(Texts{"Og==,01000001"}, Restore(record, "sssc_username_4"));
}

TEST(Conversion, DecodesLeniently) {
  const auto decode = [](std::string_view text, std::size_t capacity) {
    std::array<char, 64> out;
    out.fill('#');
    const std::size_t length = Param_Base64Decode(std::span(out).first(capacity), text);
    return std::string(out.data(), length);
  };
  EXPECT_EQ(std::string("admin\0", 6), decode("YWRt\naW4=", 64));
  EXPECT_EQ(std::string("admin\0", 6), decode("Y/WR,taW4", 64)) << "\"/\" counts for nothing";
  EXPECT_EQ(std::string("\xFB\xFF\0", 3), decode("+-8", 64).substr(0, 3)) << "\"-\" is 63";
  EXPECT_EQ("adm", decode("YWRtaW4=", 3)) << "no room for a terminator";
  EXPECT_EQ(std::string(1, '\0'), decode("", 64));
  EXPECT_EQ(Encode(std::string(54, 'a')).back(), '\n') << "a line feed behind 18 whole groups";
  EXPECT_NE(Encode(std::string(53, 'a')).back(), '\n') << "but not behind a padded one";
}

TEST(Conversion, LeavesWhatDoesNotBelongAlone) {
  ValueSlots slots{};
  SectionRecord record = NewRecord(SectionType{1});
  record.type = SectionType{11};
  EXPECT_EQ("No support section type 11\n", OutputOf([&] {
              EXPECT_EQ(-1, Param_ConfigToSection(slots, "ssdt_format", record, 0, byte_field));
            }));
  record.type = SectionType::ssdt;
  Slot_SetText(slots[0], "text");
  const std::vector<std::uint8_t> before = record.data;
  for (const std::uint32_t offset : {193U, 194U, 4000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(0, Param_ConfigToSection(slots, "ssdt_ntp_addr_1", record, offset, TextField(32)));
    ValueSlots restored{};
    EXPECT_EQ(0, Param_SectionToConfig(record, restored, "ssdt_ntp_addr_1", offset, TextField(32)));
    EXPECT_EQ(ValueSlots{}, restored);
  }
  EXPECT_EQ(before, record.data);
}

}  // namespace
