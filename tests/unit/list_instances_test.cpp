// SPDX-License-Identifier: MIT
// List instances from templates, and restores that need them.
#include "config/list_instances.h"

#include <gtest/gtest.h>

#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/restore.h"
#include "tests/fakes/emulated_camera.h"

namespace {

// A camera without any list instance, and all five templates.
void FitBareCamera() {
  FitCamera({{"Event.Server.MaxCnt", "2"},
             {"Event.Media.MaxCnt", "2"},
             {"General.UserID.Admin", "YWRtaW46c2VjcmV0"},
             {"StreamProfile.MaxCnt", "4"},
             {"Event.Scheduled.MaxCnt", "4"}});
  const Parameters templates = {
      {"NetworkStorage",
       "<NetworkStorage op='3'><Type/><Protocol/><Workgroup/><Location/><Password/>"
       "<Username/><CyclicSize/><Name/></NetworkStorage>"},
      {"Media",
       "<Media op='3' note='n'><Type op='1' values='a,b'>video</Type>"
       "<Upload op='2'><Path>/x &amp; y</Path><Empty/></Upload><PreAlarm>1</PreAlarm>"
       "<PostAlarm/></Media>"},
      {"StreamProfile",
       "<StreamProfile op='1'><Video><Name>new</Name><FPS>5</FPS></Video></StreamProfile>"},
      {"UserID", "<UserID op='3'><User op='1'/></UserID>"},
      {"EvtScheduled",
       "<EvtScheduled op='3'><ServerType/><Enabled>off</Enabled><Name/></EvtScheduled>"}};
  for (const auto& [name, content] : templates) {
    camera.files["/opt/template/" + name + ".xml"] = "<root>" + content + "</root>";
  }
  NsIndex = -1;
}

std::string Add(const ListKind& list, const char* path = nullptr) {
  camera.actions.clear();
  return OutputOf([&] {
    const ConfigFile config = Nv_OpenConfig();
    Nv_AddListInstance(list, config.handle.get(), config.root, path);
  });
}

TEST(ListInstance, HasEveryChildAndAttributeOfItsTemplate) {
  FitBareCamera();
  EXPECT_EQ("", Add(media_list));
  EXPECT_NE(
      std::string::npos,
      camera.files[device_conf].find(
          "<M0 op=\"3\"><Type op=\"1\" values=\"a,b\">video</Type>"
          "<Upload op=\"2\"><Path>/x &amp; y</Path><Empty></Empty></Upload><PreAlarm>1</PreAlarm>"
          "<PostAlarm></PostAlarm></M0>"))
      << camera.files[device_conf];
  EXPECT_EQ(std::vector<std::string>{"save"}, camera.actions);
  EXPECT_EQ(-1, NsIndex);
}

TEST(ListInstance, TakesTheFirstFreeIndexUpToTheMaximum) {
  FitBareCamera();
  SetParameter("Event.Server.S1.Type", "ftp");
  EXPECT_EQ("NsIndex=0\n", Add(network_storage_list));
  EXPECT_EQ("", Parameter("Event.Server.S0.Type"));
  EXPECT_EQ("NsIndex=0\n", Add(network_storage_list));
  EXPECT_EQ("(none)", Parameter("Event.Server.S2.Type"));
  EXPECT_EQ(std::vector<std::string>{"save"}, camera.actions) << "saved all the same";
}

TEST(ListInstance, TakesTheIndexThatItsPathAsksFor) {
  FitBareCamera();
  EXPECT_EQ("add index=2\n", Add(stream_profile_list, "StreamProfile.I2.Video.Codec"));
  EXPECT_EQ("new", Parameter("StreamProfile.I2.Video.Name"));
  EXPECT_EQ("", Add(user_list, "General.UserID.U1.User"));
  EXPECT_EQ("", Parameter("General.UserID.U1.User"));
  EXPECT_EQ("pTmp=Event.Scheduled.S0.Enabled\nadd index=0\n",
            Add(scheduled_event_list, "Event.Scheduled.S0.Enabled"));
  EXPECT_EQ("off", Parameter("Event.Scheduled.S0.Enabled"));
  SetParameter("StreamProfile.I2.Video.Name", "mine");
  EXPECT_EQ("add index=2\n", Add(stream_profile_list, "StreamProfile.I2.Audio.Enabled"));
  EXPECT_EQ("mine", Parameter("StreamProfile.I2.Video.Name")) << "an existing one stays as it is";

  EXPECT_EQ("", Add(stream_profile_list, "StreamProfile.IX.Video.Name"));
  EXPECT_EQ("", Add(user_list, "General.UserID.Admin"));
  EXPECT_EQ("pTmp=ImageSource.RecordIndex\n", Add(scheduled_event_list, "ImageSource.RecordIndex"));
  EXPECT_TRUE(camera.actions.empty());
}

TEST(ListInstance, IsNotMadeFromABadTemplateOrList) {
  struct Case {
    const char* file;
    const char* content;  // null: missing
    const char* output;
  };
  constexpr const char* template_file = "/opt/template/Media.xml";
  const std::vector<Case> cases = {
      {template_file, nullptr,
       "#Error: /opt/template/Media.xml not exist !!\n#Error: Media not supported yet\n"},
      {template_file, "<root><Media>",
       "#Error: unable to open template file\n#Error: Media not supported yet\n"},
      {template_file, "<conf/>", "#Error: unable to find root\n"},
      {template_file, "<root><Medium/></root>", "#Error: unable to get template node \n"},
      {template_file, "<root><Media op='2'/></root>", "#Error: Permission Denined \n"},
      {template_file, "<root><Media op='3x'/></root>", "#Error: Permission Denined \n"},
      {template_file, "<root><Media/></root>", "#Error: Permission Denined \n"},
      {device_conf, "<root/>", "#Error: Event.Media not added yet\n"},
      {device_conf, "<root><Event><Media/></Event></root>", "#Error: find max cnt node fail!!\n"},
      {device_conf, "<root><Event><Media><MaxCnt><x/></MaxCnt></Media></Event></root>",
       "#Error: get max cnt value fail!!\n"},
  };
  for (const Case& each : cases) {
    FitBareCamera();
    camera.files.erase(each.file);
    if (each.content != nullptr) camera.files[each.file] = each.content;
    EXPECT_EQ(each.output, Add(media_list));
    EXPECT_TRUE(camera.actions.empty()) << "nothing is saved";
  }
}

TEST(ListInstance, ComesBackWithARestore) {
  FitBareCamera();
  const std::string bare = camera.files[device_conf];
  const Parameters settings = {
      {"Event.Media.M1.Type", "snapshot"},         {"Event.Scheduled.S0.Enabled", "on"},
      {"Event.Scheduled.S0.Name", "night"},        {"Event.Scheduled.S0.ServerType", "NS"},
      {"Event.Server.S1.Location", "nas:/video"},  {"Event.Server.S1.Password", "none"},
      {"Event.Server.S1.Protocol", "nfs"},         {"Event.Server.S1.Type", "ns"},
      {"General.UserID.U0.User", "YTpi,00010001"}, {"General.UserID.U3.User", "YTpi,00000100"},
      {"StreamProfile.I1.Video.Name", "Second"},   {"StreamProfile.I1.Video.FPS", "25"},
  };
  for (const auto& [path, value] : settings) SetParameter(path, value);
  NsIndex = 1;
  (void)OutputOf([] { (void)Nv_InitEEprom(); });

  camera.files[device_conf] = bare;
  NsIndex = -1;
  const std::string output = OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
  EXPECT_NE(std::string::npos, output.find("security section j=1\n"));
  EXPECT_EQ(0, NsIndex) << "the first free place";
  for (const auto& [path, value] : settings) {
    std::string first_free = path;
    if (path.starts_with("Event.Server.S1")) first_free.replace(13, 2, "S0");
    if (path.starts_with("Event.Media.M1")) first_free.replace(12, 2, "M0");
    EXPECT_EQ(value, Parameter(first_free)) << first_free;
  }
  EXPECT_EQ("(none)", Parameter("General.UserID.U1.User")) << "a user without a name";
  EXPECT_EQ("(none)", Parameter("StreamProfile.I2.Video.Name")) << "a profile without a name";
}

TEST(ListInstance, IsNotMadeForAScheduleOfTheOther) {
  FitBareCamera();
  (void)OutputOf([] { (void)Nv_InitEEprom(); });
  (void)OutputOf([] { (void)Nv_ReadBackCheck(); });
  EXPECT_EQ("(none)", Parameter("Event.Scheduled.S0.Name"));
  EXPECT_EQ("(none)", Parameter("Event.Server.S0.Type")) << "no network storage is stored";
}

}  // namespace
