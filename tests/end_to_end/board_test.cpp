// SPDX-License-Identifier: MIT
// The start-up paths that the I/O board decides, and a module that lacks what the EEPROM holds.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/end_to_end/camera.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// When the LED changes during a span of time, in milliseconds from its start.
std::vector<milliseconds::rep> LedChanges(const Camera& camera, milliseconds span) {
  const std::string gpio = camera.state + "/gpio";
  constexpr std::size_t led = 41;
  std::vector<milliseconds::rep> changes;
  const auto start = Clock::now();
  for (char last = Content(gpio).at(led); Clock::now() - start < span;) {
    std::this_thread::sleep_for(milliseconds(5));
    const char level = Content(gpio).at(led);
    if (level == last) continue;
    last = level;
    changes.push_back(std::chrono::duration_cast<milliseconds>(Clock::now() - start).count());
  }
  return changes;
}

// Overrides the camera's "restore" by one that also takes its time, so that the fast blink is seen.
void SlowDownRestore(const Camera& camera, const char* seconds) {
  const std::string restore = camera.state + "/bin/restore";
  std::string script = Content(restore);
  script.insert(script.find("set -eu"), std::string("sleep ") + seconds + "\n");
  Write(restore, script);
}

TEST_F(EndToEnd, HeldButtonRebuildsTheEepromAndBlinks) {
  const Camera camera;
  camera.Ok("start");
  camera.Set("General.System.HTTPPort", "8080");
  camera.Ok("stop");
  SlowDownRestore(camera, "2");
  camera.Ok("button hold");
  camera.Ok("start");
  const auto fast = LedChanges(camera, milliseconds(1500));
  ASSERT_GE(fast.size(), 4U);
  for (std::size_t i = 1; i < fast.size(); ++i)
    EXPECT_LE(std::abs(fast[i] - fast[i - 1] - 250), 100);

  std::this_thread::sleep_for(milliseconds(1500));  // the reset is over
  const auto slow = LedChanges(camera, milliseconds(4500));
  ASSERT_GE(slow.size(), 3U);
  for (std::size_t i = 1; i < slow.size(); ++i) {
    const auto length = slow[i] - slow[i - 1];
    EXPECT_TRUE(std::abs(length - 500) < 200 || std::abs(length - 1500) < 200) << length;
  }
  EXPECT_TRUE(Contains(camera.Log(), "Reset detected, clear EEPROM...\n"));
  EXPECT_EQ("80", camera.Get("General.System.HTTPPort"));
  EXPECT_EQ(std::string("SPRK\1", 5), camera.Eeprom().substr(0, 5));
  EXPECT_EQ(std::string("\0\x50", 2), camera.Eeprom().substr(753, 2));
  EXPECT_FALSE(camera.HasPidFile());
  EXPECT_TRUE(Contains(camera.Ok("status"), "not serving"));
}

TEST_F(EndToEnd, HeldButtonWithoutLedEndsAfterTheReset) {
  const Camera camera;
  camera.Ok("start");
  camera.Set("General.System.HTTPPort", "8080");
  camera.Ok("stop");
  camera.Ok("board --led 0");
  camera.Ok("button hold");
  const Result result = camera.Run("run");
  EXPECT_EQ(0, result.status);
  EXPECT_TRUE(result.output.starts_with("Reset detected, clear EEPROM...\n")) << result.output;
  EXPECT_EQ(std::string("\0\x50", 2), camera.Eeprom().substr(753, 2));
  EXPECT_FALSE(camera.HasPidFile());
}

TEST_F(EndToEnd, FactoryTestBoardIsLeftAlone) {
  const Camera camera;
  camera.Ok("start");
  camera.Ok("stop");
  camera.Ok("mft");
  const std::string image = camera.Eeprom();
  std::filesystem::remove(camera.state + "/tmp/nv.sck");
  const Result result = camera.Run("run");
  EXPECT_EQ(0, result.status);
  EXPECT_EQ("mft I/O board\n", result.output);
  EXPECT_EQ(image, camera.Eeprom());
  EXPECT_TRUE(camera.HasPidFile()) << "left behind on purpose";
  EXPECT_FALSE(File_Exists((camera.state + "/tmp/nv.sck").c_str()));
}

TEST_F(EndToEnd, FailuresOfTheButtonCountAsNotHeld) {
  const std::vector<std::pair<const char*, const char*>> failures = {
      {"board --button 64", "Nv_CheckResetButton: ioctl error\n"},
      {"board --button -1", "Nv_CheckResetButton: ioctl error\n"},
      {"board", "Nv_CheckResetButton: Failed to open GPIO device\n"},
  };
  for (const auto& [arguments, message] : failures) {
    const Camera camera;
    camera.Ok(arguments);
    if (arguments == std::string_view("board")) std::filesystem::remove(camera.state + "/gpio");
    camera.Ok("start");
    EXPECT_TRUE(camera.Log().starts_with(message)) << camera.Log();
    camera.Ok("stop");
  }
}

constexpr const char* server_list = "\n    <Server>";

// The bytes of one element, start tag to end tag.
std::string Element(const std::string& configuration, const std::string& name, std::size_t from) {
  const std::size_t begin = configuration.find("<" + name, from);
  const std::string end_tag = "</" + name + ">";
  return configuration.substr(begin, configuration.find(end_tag, begin) + end_tag.size() - begin);
}

void Erase(std::string& configuration, const std::string& list, const std::string& name) {
  const std::size_t from = configuration.find(list);
  ASSERT_NE(std::string::npos, from) << list;
  const std::string element = Element(configuration, name, from);
  configuration.erase(configuration.find(element, from), element.size());
}

TEST_F(EndToEnd, MissingInstancesComeBackFromTheirTemplates) {
  const Camera camera;
  camera.Ok("start");
  camera.Set("Event.Server.S0.Location", "//nas.example/attic");
  camera.Set("General.UserID.U2.User", "Y2Fyb2w6c2VjcmV0,00010001");
  camera.Set("StreamProfile.I3.Video.FPS", "3");
  camera.Set("Event.Scheduled.S0.Name", "nightly");
  camera.Ok("stop");
  camera.Ok("swap BARE-1");
  std::string bare = Content(camera.state + "/factory/device.conf");
  for (const char* user : {"U0", "U1", "U2", "U3"}) Erase(bare, "<UserID op", user);
  for (const char* profile : {"I1", "I2", "I3"}) Erase(bare, "<StreamProfile op", profile);
  Erase(bare, server_list, "S0");
  Erase(bare, "\n    <Media>", "M0");
  Erase(bare, "<Scheduled>", "S0");
  Write(camera.state + "/factory/device.conf", bare);
  Write(camera.state + "/etc/device.conf", bare);

  camera.Ok("start");
  const std::string log = camera.Log();
  EXPECT_FALSE(Contains(log, "#Error")) << log;
  EXPECT_TRUE(Contains(log, "security section j=3\n"));
  EXPECT_TRUE(Contains(log, "add index=3\n"));
  EXPECT_TRUE(Contains(log, "NsIndex=0\n"));
  EXPECT_EQ("//nas.example/attic", camera.Get("Event.Server.S0.Location"));
  EXPECT_EQ("Y2Fyb2w6c2VjcmV0,00010001", camera.Get("General.UserID.U2.User"));
  EXPECT_EQ("3", camera.Get("StreamProfile.I3.Video.FPS"));
  EXPECT_EQ("nightly", camera.Get("Event.Scheduled.S0.Name"));
  EXPECT_EQ("20", camera.Get("Event.Media.M0.PostAlarm"));
  const std::string configuration = camera.Configuration();
  const std::string server = Element(configuration, "S0", configuration.find(server_list));
  EXPECT_TRUE(Contains(server, "<Retries type=\"int\" min=\"0\" max=\"10\">3</Retries>")) << server;
  EXPECT_TRUE(Contains(server, "<Test op=\"2\" type=\"bool\">0</Test>"));

  camera.Set("Event.Server.S0.Location", "//nas.example/cellar");
  EXPECT_EQ("/cellar", camera.Eeprom().substr(10952 + 9 + 66, 7))
      << "a notice for a new instance reaches the EEPROM";
}

TEST_F(EndToEnd, FullServerListTakesNoMore) {
  const Camera camera;
  camera.Ok("start");
  camera.Ok("stop");
  camera.Ok("swap FULL-1");
  std::string full = Content(camera.state + "/factory/device.conf");
  const std::string max_count = Element(full, "MaxCnt", full.find(server_list));
  full.replace(full.find(max_count, full.find(server_list)), max_count.size(),
               "<MaxCnt>0</MaxCnt>");
  Erase(full, server_list, "S0");
  for (const char* file : {"/factory/device.conf", "/etc/device.conf"}) {
    Write(camera.state + file, full);
  }
  std::filesystem::remove(camera.state + "/template/Media.xml");
  camera.Ok("start");
  const std::string log = camera.Log();
  EXPECT_TRUE(Contains(log, "NsIndex=-1\n"));
  EXPECT_TRUE(Contains(log,
                       "#Error: /opt/template/Media.xml not exist !!\n"
                       "#Error: Media not supported yet\n"));
  EXPECT_EQ(1, camera.Run("get Event.Server.S0.Type").status);
  EXPECT_EQ("80", camera.Get("General.System.HTTPPort")) << "the rest of the restore goes on";
  camera.Ok("stop");
}

}  // namespace
