// SPDX-License-Identifier: MIT
// The unmodified daemon in the simulated camera, seen as the camera's other programs see it: the
// EEPROM file, device.conf, the socket, standard output, the pid file, the LED.
#include "tests/end_to_end/camera.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <thread>

namespace {

// The addresses at which two images differ.
std::vector<std::size_t> Differences(const std::string& a, const std::string& b) {
  std::vector<std::size_t> addresses;
  EXPECT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (a[i] != b[i]) addresses.push_back(i);
  }
  return addresses;
}

TEST_F(EndToEnd, FactoryImageIsTheGoldenOne) {
  const Camera camera;
  camera.Ok("start");
  EXPECT_TRUE(Contains(camera.Log(), "eeprom is empty, starting eeprom initial...\n"));
  EXPECT_EQ(12074U, camera.Eeprom().size());
  camera.Ok("stop");
  std::string dump = camera.Ok("show");
  const std::size_t time = dump.find("0029  time");
  ASSERT_NE(std::string::npos, time);
  dump.erase(time, dump.find('\n', time) + 1 - time);
  EXPECT_EQ(Content(GOLDEN_FOLDER "/factory_image.txt"), dump)
      << "intended? then: tools/update-golden";
}

TEST_F(EndToEnd, RestartOnAMatchingImageChangesNothing) {
  const Camera camera;
  camera.Ok("start");
  camera.Ok("stop");
  const std::string image = camera.Eeprom();
  struct stat before {};
  ASSERT_EQ(0, stat((camera.state + "/etc/device.conf").c_str(), &before));
  camera.Ok("start");
  camera.Ok("stop");
  struct stat after {};
  ASSERT_EQ(0, stat((camera.state + "/etc/device.conf").c_str(), &after));
  EXPECT_EQ(before.st_ino, after.st_ino) << "the file was not even rewritten";
  EXPECT_EQ(image, camera.Eeprom());
  EXPECT_FALSE(Contains(camera.Log(), "sVal="));
  EXPECT_FALSE(Contains(camera.Log(), "save device.conf"));
}

TEST_F(EndToEnd, ChangeArrivesInItsBytesAndTheTimeStamp) {
  const Camera camera;
  camera.Ok("start");
  const std::string before = camera.Eeprom();
  camera.Set("General.System.HTTPPort", "8080");
  const std::string after = camera.Eeprom();
  EXPECT_EQ(std::string("\x1F\x90", 2), after.substr(753, 2));
  for (const std::size_t address : Differences(before, after)) {
    EXPECT_TRUE(address == 753 || address == 754 || (address >= 41 && address <= 44)) << address;
  }
  EXPECT_EQ("8080", camera.Get("General.System.HTTPPort"));
  camera.Set("Image.OSD.Title", "off");
  EXPECT_EQ("%T", camera.Eeprom().substr(1397 + 9 + 66, 2)) << "the other paths were asked for";
  camera.Ok("stop");
  camera.Ok("start");
  EXPECT_FALSE(Contains(camera.Log(), "General.System.HTTPPort"));
  EXPECT_EQ("8080", camera.Get("General.System.HTTPPort"));
}

// Settings of all ten section types: user's value, and what the next module has.
const std::map<std::string, std::pair<std::string, std::string>> travelling = {
    {"General.Time.TimeZone", {"GMT 09:00/Asia/Tokyo", "GMT 09:00/Asia/Tokyo"}},
    {"General.Time.SyncSource", {"Manual", "Done"}},
    {"General.UserID.U1.User", {"Y2Fyb2w6c2VjcmV0,00010001", "Y2Fyb2w6c2VjcmV0,00010001"}},
    {"General.Network.eth0.IPAddress", {"192.0.2.44", "192.0.2.44"}},
    {"General.System.HTTPPort", {"8081", "8081"}},
    {"General.Network.UPnP.Enabled", {"off", "off"}},
    {"ImageSource.I0.Sensor.Brightness", {"62", "62"}},
    {"ImageSource.I0.Sensor.Flip", {"on", "on"}},
    {"Image.OSD.Alias", {"Back Yard", "Back"}},
    {"ImageSource.I0.Iris.Value", {"321", "321"}},
    {"Audio.AudioSource.A0.AudioInputGain", {"mute", "-1"}},
    {"ImageSource.I0.IR.ICRType", {"schedule", "schedule"}},
    {"StreamProfile.I2.Video.Resolution", {"640x480", "640x480"}},
    {"StreamProfile.I2.Video.FPS", {"7", "7"}},
    {"StreamProfile.I3.Audio.Enabled", {"off", "off"}},
    {"Event.MemoryCard.Media.PreAlarm", {"9", "9"}},
    {"Event.Server.S0.Location", {"//nas.example/yard", "//nas.example/yard"}},
    {"Event.Media.M0.PostAlarm", {"11", "11"}},
    {"ImageSource.RecordIndex", {"3", "3"}},
};

TEST_F(EndToEnd, SettingsComeBackOnAnotherModule) {
  const Camera camera;
  camera.Ok("start");
  camera.Set("ImageSource.I0.Iris.Type", "manual");
  for (const auto& [path, values] : travelling) camera.Set(path, values.first);
  camera.Ok("stop");
  const std::string image = camera.Eeprom();
  camera.Ok("swap NEW-77");
  camera.Ok("start");
  EXPECT_TRUE(Contains(camera.Log(), "product id not match\n"));
  for (const auto& [path, values] : travelling) EXPECT_EQ(values.second, camera.Get(path)) << path;
  EXPECT_EQ("NEW-77", camera.Get("General.Brand.ProdNbr"));
  camera.Ok("stop");
  const std::string after = camera.Eeprom();
  EXPECT_EQ(std::string("NEW-77\0\0", 8), after.substr(9, 8));
  for (const std::size_t address : Differences(image, after)) {
    EXPECT_TRUE(address >= 9 && address < 45) << "only the identification is written: " << address;
  }
  camera.Ok("start");
  EXPECT_FALSE(Contains(camera.Log(), "product id not match"));
}

TEST_F(EndToEnd, EndsCleanlyOnSigterm) {
  const Camera camera;
  camera.Ok("start");
  EXPECT_TRUE(camera.HasPidFile());
  const std::string pid = Content(camera.state + "/run/nvd.pid");
  EXPECT_EQ(std::string::npos, pid.find_first_not_of("0123456789"));
  EXPECT_EQ(0, kill(std::stoi(pid), SIGUSR1));
  EXPECT_EQ(0, kill(std::stoi(pid), SIGUSR2));
  camera.Set("General.System.HTTPPort", "81");
  EXPECT_TRUE(Contains(camera.Log(),
                       "Nvd : Turn On debug mode\n"
                       "## NVD : link list node=General.System.HTTPPort\n"));
  camera.Ok("stop");
  EXPECT_FALSE(camera.HasPidFile());
  EXPECT_EQ("0\n", Content(camera.state + "/status"));
}

TEST_F(EndToEnd, BadConfigurationIsNeverOverwritten) {
  const Camera camera;
  const std::string good = camera.Configuration();
  const std::string conf = camera.state + "/etc/device.conf";
  for (const std::string& bad :
       {std::string(), good.substr(0, good.size() / 2), std::string("no xml at all"),
        std::string("<device></device>"), std::string(1000, '\0')}) {
    Write(conf, bad);
    camera.Ok("start");
    camera.Ok("notify General.System.HTTPPort=8080");
    camera.Ok("stop");
    EXPECT_EQ(bad, camera.Configuration());
    EXPECT_TRUE(camera.Eeprom().empty()) << "and nothing of it reaches the EEPROM";
  }
  std::filesystem::remove(conf);
  camera.Ok("start");
  camera.Ok("stop");
  EXPECT_FALSE(File_Exists(conf.c_str()));
}

TEST_F(EndToEnd, SurvivesNoiseInTheEeprom) {
  const Camera camera;
  std::mt19937 random(7);
  for (int round = 0; round < 3; ++round) {
    std::string noise(12074 + random() % 3000, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    // Behind a valid identification the noise is read back; without one it is overwritten.
    if (round > 0) noise.replace(0, 45, camera.Eeprom().substr(0, 45));
    Write(camera.state + "/eeprom", noise);
    camera.Ok("start");
    camera.Ok("stop");
    EXPECT_EQ("NVC-2400", camera.Get("General.Brand.ProdNbr"));
  }
}

TEST_F(EndToEnd, SurvivesAnyMessage) {
  const Camera camera;
  camera.Ok("start");
  std::mt19937 random(11);
  const std::string image = camera.Eeprom();
  for (const std::size_t length : {0U, 1U, 2U, 50U, 127U, 128U, 129U, 130U, 200U}) {
    std::string message(length, '=');
    for (char& c : message) c = static_cast<char>(random());
    Write(camera.state + "/message", message);
    camera.Ok("notify - <" + camera.state + "/message");
  }
  EXPECT_EQ(image, camera.Eeprom());
  Write(camera.state + "/message", "General.Network.eth0.IPAddress=" + std::string(169, '1'));
  camera.Ok("notify - <" + camera.state + "/message");
  EXPECT_EQ(std::string(31, '1') + std::string(1, '\0'), camera.Eeprom().substr(592, 32));
  std::vector<std::thread> senders;
  for (int i = 0; i < 30; ++i) {
    senders.emplace_back([&] { (void)camera.Run("notify -n General.System.HTTPPort=88"); });
  }
  for (std::thread& sender : senders) sender.join();
  camera.Set("General.Network.RTSP.Port", "555");
  EXPECT_EQ(std::string("\0\x58\x02\x2B", 4), camera.Eeprom().substr(753, 4));
  camera.Ok("stop");
}

TEST_F(EndToEnd, EndsOnSigtermBesideASilentClient) {
  const Camera camera;
  camera.Ok("start");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (camera.state + "/tmp/nv.sck").copy(address.sun_path, sizeof address.sun_path - 1);
  const int silent = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(0, connect(silent, reinterpret_cast<sockaddr*>(&address), sizeof address));
  camera.Ok("notify -n General.System.HTTPPort=81");  // wakes the daemon up to serve both
  camera.Ok("--timeout 4 stop");
  (void)close(silent);
}

TEST_F(EndToEnd, WithoutAnEepromEndsAtOnce) {
  const Camera camera;
  std::filesystem::remove(camera.state + "/eeprom");
  const Result result = camera.Run("run");
  EXPECT_EQ(0, result.status);
  EXPECT_EQ("nvd: open I2C device error\n", result.output);
  EXPECT_FALSE(camera.HasPidFile());
  EXPECT_FALSE(File_Exists((camera.state + "/tmp/nv.sck").c_str()));
}

TEST_F(EndToEnd, CamerasLiveSideBySide) {
  const Camera one;
  const Camera two;
  one.Ok("start");
  two.Ok("start");
  one.Set("General.System.HTTPPort", "8001");
  two.Set("General.System.HTTPPort", "8002");
  EXPECT_EQ(std::string("\x1F\x41", 2), one.Eeprom().substr(753, 2));
  EXPECT_EQ(std::string("\x1F\x42", 2), two.Eeprom().substr(753, 2));
}

TEST_F(EndToEnd, LensPositionsGoToTheLensDriver) {
  const Camera camera;
  camera.Ok("start");
  camera.Ok("stop");
  const std::string zoom = camera.Get("ImageSource.I0.LensControl.ZoomPos");
  camera.Set("ImageSource.I0.LensControl.ZoomPos", "5");
  camera.Ok("start");
  camera.Ok("stop");
  EXPECT_EQ("5", camera.Get("ImageSource.I0.LensControl.ZoomPos"));
  EXPECT_EQ("zoom=" + zoom + "\n", Content(camera.state + "/mnt/mtd/lens_position_change"));
}

TEST_F(EndToEnd, ConfigurationToolRefusesCleanlyAndReportsWhatIsTheDaemons) {
  const Camera camera;
  camera.Ok("start");
  const std::string before = camera.Configuration();
  const std::string image = camera.Eeprom();
  const std::string tool = "exec /bin/xmlcfg ";
  for (const char* arguments :
       {"", "-g", "-g General.System.HTTPPort", "-g No.Such.Path /etc/device.conf",
        "-g General /etc/device.conf", "-s General.System.HTTPPort 1 /etc/none",
        "-s No.Such.Path 1 /etc/device.conf", "-s General 1 /etc/device.conf", "-x a b",
        "-g General.System.HTTPPort /etc/device.conf extra", "-l 'No*' /etc/device.conf",
        "-s General.System.HTTPPort 1 -", "-s General.System.HTTPPort \xFF /etc/device.conf"}) {
    const Result result = camera.Run(tool + arguments);
    EXPECT_EQ(1, result.status) << arguments;
    EXPECT_EQ(1, std::ranges::count(result.output, '\n')) << arguments;
  }
  EXPECT_EQ("", camera.Ok(tool + "-s General.System.HTTPPort 81 /opt/factory/device.conf"));
  camera.Ok("notify ''");
  EXPECT_EQ(before, camera.Configuration());
  EXPECT_EQ(image, camera.Eeprom()) << "another file is not the daemon's";
  const std::string longer =
      camera.Ok(tool + "-s Image.OSD.Alias " + std::string(113, 'x') + " /etc/device.conf");
  EXPECT_TRUE(Contains(longer, "128 bytes of PATH=VALUE, not 129")) << longer;
  camera.Set("PTZ.Speed.ZoomSpeed", "-1");
  EXPECT_EQ("PTZ.Speed.ZoomSpeed=-1\n",
            camera.Ok(tool + "-l '*.Zoom*eed' - <" + camera.state + "/etc/device.conf"))
      << "a value is no option";
  EXPECT_TRUE(Contains(camera.Ok(tool + "--version"), "xmlcfg 0."));
}

}  // namespace
