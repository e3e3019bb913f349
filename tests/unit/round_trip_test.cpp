// SPDX-License-Identifier: MIT
// What comes back after a module swap, parameter by parameter: the values go into a blank EEPROM,
// the new module has others, and the read-back check puts the stored ones back.
#include <gtest/gtest.h>

#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/restore.h"
#include "tests/fakes/fake_chip.h"
#include "tests/fakes/fake_machine.h"

namespace {

struct Parameters {
  std::string path;
  std::vector<std::string> values;                 // each one goes through a swap of its own
  std::vector<std::string> back;                   // what comes back; none: the same values
  std::map<std::string, std::string> beside = {};  // what else is set
};

constexpr const char* kept = "(new module's)";  // nothing comes back

std::string Of(std::size_t size) { return std::string(size, 'x'); }

// clang-format off
const std::vector<Parameters> table = {
    {"General.Time.DateFormat", {"ymd", "mdy", "dmy", "other"}, {"ymd", "mdy", "dmy", "dmy"}},
    {"General.Time.SyncSource", {"NTP", "Manual"}, {"NTP", "Done"}},
    {"General.Time.NTP.ManualServer3", {Of(31), Of(32), Of(127), ""}, {Of(31), Of(31), Of(31), kept}},
    {"General.Time.TimeZone", {"GMT-12:00/Etc/GMT-12", "GMT 12:00/Pacific/Fiji", "nowhere"}, {"GMT-12:00/Etc/GMT-12", "GMT 12:00/Pacific/Fiji", kept}},
    {"General.UserID.Admin", {"YTpi", "Og==", "Pz8/Og=="}, {"YTpi", "Og==", "Pz8OOg=="}},
    {"General.UserID.U3.User", {"YTpi,01000001", "YTpi,00010001", "YTpi,00000100", "YTpi,00000000"}, {"YTpi,01000001", "YTpi,00010001", "YTpi,00000100", "YTpi,01000001"}},
    {"General.Network.eth0.BootProto", {"dhcp", "none", "static"}, {"dhcp", "none", "none"}},
    {"General.Network.eth0.DNSAuto", {"on", "off", "?"}, {"on", "off", "off"}},
    {"General.Network.eth0.IPAddress", {"0.0.0.0", "caf\xC3\xA9", "100%d"}, {}},
    {"General.System.HTTPPort", {"0", "65535", "65536", "-1", "2147483648"}, {"0", "65535", "0", "65535", "65535"}},
    {"General.Network.eth0.IPv6Address", {Of(63), Of(64)}, {Of(63), Of(63)}},
    {"ImageSource.I0.Sensor.Brightness", {"0", "100", "33"}, {}},
    {"ImageSource.I0.Sensor.Flip", {"off", "on"}, {}, {{"ImageSource.I0.Sensor.Mirror", "on"}}},
    {"ImageSource.I0.Sensor.WhiteBalance", {"auto", "incandescent", "fluorescent", "sunny", "sun_shade", "cloudy", "manual", "hold", "blue"}, {"auto", "incandescent", "fluorescent", "sunny", "sun_shade", "cloudy", "manual", "hold", "auto"}},
    {"ImageSource.I0.Sensor.PowerFrequency", {"50", "60", "hold", "auto"}, {"50", "60", "hold", kept}},
    {"ImageSource.I0.Sensor.ShutterSpeedMax", {"65535"}, {}},
    {"ImageSource.I0.Sensor.WideDynamicRange.ModeSpk", {"auto", "off", "on"}, {}, {{"ImageSource.I0.Sensor.WideDynamicRange.Level", "32767"}}},
    {"ImageSource.I0.Sensor.WideDynamicRange.Level", {"32767", "32768", "0"}, {"32767", "-32768", kept}, {{"ImageSource.I0.Sensor.WideDynamicRange.ModeSpk", "on"}}},
    {"ImageSource.I0.Sensor.DeNoise.DeNoiseY", {"-32768"}, {}, {{"ImageSource.I0.Sensor.DeNoise.Mode", "manual"}}},
    {"ImageSource.I0.Sensor.DeNoise.ScheduleIdx", {"7"}, {}, {{"ImageSource.I0.Sensor.DeNoise.Mode", "schedule"}}},
    {"Image.OSD.Alias", {"Gate", "Front Door", "Tom", "A%"}, {"Gate", "Front", "om", "A"}, {{"Image.OSD.Title", "on"}}},
    {"Image.OSD.BkColor", {"black", ""}, {"black", kept}, {{"Image.OSD.Position", "top"}}},
    {"Image.OSD.Position", {"top"}, {}, {{"Image.OSD.BkColor", ""}}},
    {"PTZ.Speed.FocusSpeed", {"-32768", "32767", "-1"}, {"-32768", "32767", "0"}},
    {"ImageSource.I0.Iris.Type", {"auto", "open", "manual"}, {}, {{"ImageSource.I0.Iris.Value", "9"}}},
    {"Audio.AudioSource.A0.AudioEncoding", {"AAC", "AMR", "g.711_u-law", "g.711_a-law", "g.726", "mp3"}, {"AAC", "AMR", "g.711_u-law", "g.711_a-law", "g.726", "AAC"}},
    {"Audio.AudioSource.A0.AMR.AudioCodecBitRate", {"8k", "22.05k", "65.535k", "0k", "66k"}, {"8k", "22.05k", "65.535k", "0k", "0k"}},
    {"Audio.AudioSource.A0.AudioDenoise.Level", {"high", "low", "off", "max"}, {"high", "low", "off", "off"}},
    {"Audio.AudioSource.A0.AudioInputType", {"linein", "micin", "none"}, {"linein", "micin", "micin"}},
    {"Audio.AudioSource.A0.AudioOutputGain", {"mute", "32767"}, {"-1", "32767"}},
    {"Properties.Audio.OutputType", {"lineout", "speaker", "none"}, {"lineout", "speaker", kept}},
    {"ImageSource.I0.IR.ICRType", {"auto", "on", "off", "schedule"}, {}},
    {"ImageSource.I0.IR.Type", {"auto", "on", "off", "schedule", "dim"}, {"auto", "on", "off", "schedule", "auto"}},
    {"StreamProfile.I3.Video.Name", {Of(31), Of(40)}, {Of(31), Of(31)}},
    {"StreamProfile.I1.Video.Codec", {"H264", "H265", "MJPEG"}, {}, {{"StreamProfile.I1.Video.Profile", "0"}}},
    {"StreamProfile.I1.Video.Profile", {"0", "1", "2", "7"}, {"0", "1", "2", "2"}, {{"StreamProfile.I1.Video.Codec", "H264"}}},
    {"StreamProfile.I2.Video.Resolution", {"1x1", "65535x65535", "wide"}, {"1x1", "65535x65535", "0x0"}},
    {"StreamProfile.I2.Video.FPS", {"1", "655"}, {}},
    {"StreamProfile.I0.Video.Quality.Mode", {"vbr", "cbr", "?"}, {"vbr", "cbr", "vbr"}},
    {"StreamProfile.I0.Video.Quality.BitRate", {"64k", "2M", "4.5M", "512"}, {"64k", "2M", "4.5M", "0k"}},
    {"StreamProfile.I0.Video.Quality.Quant", {"-2147483648", "2147483647", "2147483648"}, {"-2147483648", "2147483647", "2147483647"}},
    {"StreamProfile.I0.OSD.Enabled", {"on", "off"}, {"on", "on"}},
    {"StreamProfile.I0.Audio.Enabled", {"on", "off"}, {}},
    {"Event.MemoryCard.Enabled", {"on", "off"}, {}},
    {"Event.Scheduled.S0.FileSize", {"50"}, {}, {{"Event.Scheduled.S0.ServerType", "LS"}, {"Event.Scheduled.S0.Enabled", "on"}}},
    {"Event.Scheduled.S0.Period", {"5"}, {}, {{"Event.Scheduled.S0.ServerType", "NS"}, {"Event.Scheduled.S0.Enabled", "on"}}},
    {"Event.Scheduled.S0.Schedule", {"0-6"}, {kept}, {{"Event.Scheduled.S0.ServerType", "LS"}, {"Event.Scheduled.S0.Enabled", "off"}}},
    {"Event.MemoryCard.Media.Type", {"video", "snapshot"}, {}},
    {"ImageSource.RecordIndex", {"0", "3"}, {}},
    {"Event.Server.S0.Location", {"host:/export"}, {}, {{"Event.Server.S0.Protocol", "nfs"}}},
    {"Event.Server.S0.Location", {"//host/share", "//host"}, {}, {{"Event.Server.S0.Protocol", "cifs"}}},
    {"Event.Server.S0.Password", {"none", "secret", ""}, {"none", "secret", "none"}},
    {"Event.Server.S0.CyclicSize", {"2147483647", "-1"}, {}},
    {"Event.Media.M0.Type", {"video", "snapshot"}, {}},
};
// clang-format on

std::string AfterSwap(const Parameters& row, const std::string& value) {
  FitFakeCamera(row.beside);
  chip.records = false;
  SetParameter(row.path, value);
  (void)OutputOf([] { (void)Nv_InitEEprom(); });
  SetParameter(row.path, kept);
  for (const auto& [path, unused] : row.beside) SetParameter(path, kept);
  (void)OutputOf([] { (void)Nv_ReadBackCheck(); });
  return Parameter(row.path);
}

TEST(RoundTrip, BringsBackWhatTheRulesSay) {
  for (const Parameters& row : table) {
    const auto& expected = row.back.empty() ? row.values : row.back;
    ASSERT_EQ(row.values.size(), expected.size()) << row.path;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(expected[i], AfterSwap(row, row.values[i])) << row.path << " " << row.values[i];
    }
  }
}

}  // namespace
