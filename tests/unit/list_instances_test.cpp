// SPDX-License-Identifier: MIT
// List instances from templates, and restores that need them.
#include "config/list_instances.h"

#include <gtest/gtest.h>

#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/restore.h"
#include "tests/fakes/fake_chip.h"
#include "tests/fakes/fake_machine.h"

namespace {

constexpr const char* media_template =
    "<root><Media op=\"3\" note=\"n\"><Type op=\"1\" values=\"a,b\">video</Type>"
    "<Upload op=\"2\"><Path>/x &amp; y</Path><Empty/></Upload>"
    "<PreAlarm>1</PreAlarm><PostAlarm>2</PostAlarm></Media></root>";

std::string Template(const std::string& name, const std::string& op, const std::string& content) {
  return "<root><" + name + " op=\"" + op + "\">" + content + "</" + name + "></root>";
}

// A camera without any list instance, and all five templates.
void FitBareCamera() {
  FitFakeCamera({{"Event.Server.MaxCnt", "2"},
                 {"Event.Media.MaxCnt", "2"},
                 {"General.UserID.Admin", "YWRtaW46c2VjcmV0"},
                 {"StreamProfile.MaxCnt", "4"},
                 {"Event.Scheduled.MaxCnt", "4"}});
  auto& files = machine.files;
  files["/opt/template/NetworkStorage.xml"] = Template(
      "NetworkStorage", "3",
      "<Type/><Protocol/><Workgroup/><Location/><Password/><Username/><CyclicSize/><Name/>");
  files["/opt/template/Media.xml"] = media_template;
  files["/opt/template/StreamProfile.xml"] =
      Template("StreamProfile", "1", "<Video><Name>new</Name><FPS>5</FPS></Video>");
  files["/opt/template/UserID.xml"] = Template("UserID", "3", "<User op=\"1\"/>");
  files["/opt/template/EvtScheduled.xml"] =
      Template("EvtScheduled", "3", "<ServerType>LS</ServerType><Enabled>off</Enabled><Name/>");
  NsIndex = -1;
}

std::string Add(const ListKind& list, const char* path = nullptr) {
  return OutputOf([&] {
    const ConfigFile config = Nv_OpenConfig();
    Nv_AddListInstance(list, config.handle.get(), config.root, path);
  });
}

TEST(ListInstance, HasEveryChildAndAttributeOfItsTemplate) {
  FitBareCamera();
  EXPECT_EQ("", Add(media_list));
  EXPECT_NE(std::string::npos,
            machine.files[device_conf].find(
                "<M0 op=\"3\"><Type op=\"1\" values=\"a,b\">video</Type>"
                "<Upload op=\"2\"><Path>/x &amp; y</Path><Empty></Empty></Upload>"
                "<PreAlarm>1</PreAlarm><PostAlarm>2</PostAlarm></M0>"))
      << machine.files[device_conf];
  EXPECT_EQ(1, machine.saves);
}

TEST(ListInstance, TakesTheFirstFreeIndexUpToTheMaximum) {
  FitBareCamera();
  SetParameter("Event.Server.S1.Type", "ftp");
  EXPECT_EQ("NsIndex=0\n", Add(network_storage_list));
  EXPECT_EQ("", Parameter("Event.Server.S0.Type"));
  machine.saves = 0;
  EXPECT_EQ("NsIndex=0\n", Add(network_storage_list));
  EXPECT_EQ("(none)", Parameter("Event.Server.S2.Type"));
  EXPECT_EQ(1, machine.saves) << "saved all the same";
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
  EXPECT_EQ(3, machine.saves);
  SetParameter("StreamProfile.I2.Video.Name", "mine");
  EXPECT_EQ("add index=2\n", Add(stream_profile_list, "StreamProfile.I2.Audio.Enabled"));
  EXPECT_EQ("mine", Parameter("StreamProfile.I2.Video.Name")) << "an existing one stays as it is";

  machine.saves = 0;
  EXPECT_EQ("", Add(stream_profile_list, "StreamProfile.IX.Video.Name"));
  EXPECT_EQ("", Add(user_list, "General.UserID.Admin"));
  EXPECT_EQ("pTmp=ImageSource.RecordIndex\n", Add(scheduled_event_list, "ImageSource.RecordIndex"));
  EXPECT_EQ(0, machine.saves);
}

TEST(ListInstance, IsNotMadeFromABadTemplateOrList) {
  struct Case {
    const char* content;  // of the template file; null: missing
    const char* output;
  };
  const std::vector<Case> cases = {
      {nullptr, "#Error: /opt/template/Media.xml not exist !!\n#Error: Media not supported yet\n"},
      {"<root><Media>", "#Error: unable to open template file\n#Error: Media not supported yet\n"},
      {"<conf/>", "#Error: unable to find root\n"},
      {"<root><Medium op=\"3\"/></root>", "#Error: unable to get template node \n"},
      {"<root><Media op=\"2\"/></root>", "#Error: Permission Denined \n"},
      {"<root><Media op=\"3x\"/></root>", "#Error: Permission Denined \n"},
      {"<root><Media/></root>", "#Error: Permission Denined \n"},
  };
  for (const Case& each : cases) {
    FitBareCamera();
    machine.files.erase("/opt/template/Media.xml");
    if (each.content != nullptr) machine.files["/opt/template/Media.xml"] = each.content;
    const std::string before = machine.files[device_conf];
    EXPECT_EQ(each.output, Add(media_list));
    EXPECT_EQ(before, machine.files[device_conf]);
    EXPECT_EQ(0, machine.saves);
  }
  const std::vector<std::pair<const char*, const char*>> lists = {
      {"<root/>", "#Error: Event.Media not added yet\n"},
      {"<root><Event><Media/></Event></root>", "#Error: find max cnt node fail!!\n"},
      {"<root><Event><Media><MaxCnt><x/></MaxCnt></Media></Event></root>",
       "#Error: get max cnt value fail!!\n"},
  };
  for (const auto& [content, output] : lists) {
    FitBareCamera();
    machine.files[device_conf] = content;
    EXPECT_EQ(output, Add(media_list));
    EXPECT_EQ(0, machine.saves);
  }
}

TEST(ListInstance, ComesBackWithARestore) {
  FitBareCamera();
  const std::string bare = machine.files[device_conf];
  const std::map<std::string, std::string> settings = {
      {"General.UserID.U0.User", "Ym9iOndvcmQ=,00010001"},
      {"General.UserID.U2.User", "YW5uOndvcmQ=,00000100"},
      {"StreamProfile.I1.Video.Name", "Second"},
      {"StreamProfile.I1.Video.FPS", "25"},
      {"Event.Server.S1.Type", "ns"},
      {"Event.Server.S1.Protocol", "nfs"},
      {"Event.Server.S1.Location", "nas:/video"},
      {"Event.Server.S1.Password", "none"},
      {"Event.Media.M1.Type", "snapshot"},
      {"Event.Scheduled.S0.ServerType", "NS"},
      {"Event.Scheduled.S0.Enabled", "on"},
      {"Event.Scheduled.S0.Name", "night"},
  };
  for (const auto& [path, value] : settings) SetParameter(path, value);
  NsIndex = 1;
  chip.records = false;
  (void)OutputOf([] { (void)Nv_InitEEprom(); });

  machine.files[device_conf] = bare;
  NsIndex = -1;
  const std::string output = OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
  EXPECT_NE(std::string::npos, output.find("security section j=1\n"));
  EXPECT_EQ(0, NsIndex) << "the first free place";
  EXPECT_EQ("Ym9iOndvcmQ=,00010001", Parameter("General.UserID.U0.User"));
  EXPECT_EQ("YW5uOndvcmQ=,00000100", Parameter("General.UserID.U2.User"));
  EXPECT_EQ("(none)", Parameter("General.UserID.U1.User")) << "a user without a name";
  EXPECT_EQ("Second", Parameter("StreamProfile.I1.Video.Name"));
  EXPECT_EQ("25", Parameter("StreamProfile.I1.Video.FPS"));
  EXPECT_EQ("(none)", Parameter("StreamProfile.I2.Video.Name")) << "a profile without a name";
  EXPECT_EQ("nas:/video", Parameter("Event.Server.S0.Location"));
  EXPECT_EQ("none", Parameter("Event.Server.S0.Password"));
  EXPECT_EQ("snapshot", Parameter("Event.Media.M0.Type"));
  EXPECT_EQ("NS", Parameter("Event.Scheduled.S0.ServerType"));
  EXPECT_EQ("night", Parameter("Event.Scheduled.S0.Name"));
}

}  // namespace
