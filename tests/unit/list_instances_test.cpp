// SPDX-License-Identifier: MIT
// List instances from templates, and restores that need them.
#include "config/list_instances.h"

#include <gtest/gtest.h>

#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/restore.h"
#include "tests/fakes/emulated_camera.h"

namespace {

constexpr const char* bare_configuration =
    "<root><Event><Server><MaxCnt>2</MaxCnt></Server><Media><MaxCnt>2</MaxCnt></Media><Scheduled/>"
    "<MemoryCard><Enabled>off</Enabled></MemoryCard></Event><StreamProfile/>"
    "<General><UserID/></General></root>";

// The simulated camera without any list instance.
void FitBareCamera() {
  FitFactoryCamera();
  camera.files[device_conf] = bare_configuration;
  NsIndex = -1;
}

// What the call prints, and "save" when it saves.
std::string Add(const ListKind& list, const char* path = nullptr) {
  camera.actions.clear();
  const std::string output = OutputOf([&] {
    const ConfigFile config = Nv_OpenConfig();
    Nv_AddListInstance(list, config.handle.get(), config.root, path);
  });
  return camera.actions.empty() ? output : output + camera.actions[0];
}

TEST(ListInstance, HasEveryChildAndAttributeOfItsTemplate) {
  FitBareCamera();
  const std::string content =
      " op=\"3\"><Type op=\"1\" values=\"a,b\">video</Type><Upload op=\"2\"><Path>/x &amp; y</Path>"
      "</Upload><PreAlarm/></M";
  camera.files["/opt/template/Media.xml"] = "<root><Media note='n'" + content + "edia></root>";
  EXPECT_EQ("save", Add(media_list));
  EXPECT_NE(std::string::npos, camera.files[device_conf].find("<M0" + content + "0>"))
      << camera.files[device_conf];
  EXPECT_EQ(-1, NsIndex);
}

TEST(ListInstance, TakesTheFirstFreeIndexUpToTheMaximum) {
  FitBareCamera();
  SetParameter("Event.Server.S0.Type", "ftp");
  EXPECT_EQ("NsIndex=1\nsave", Add(network_storage_list));
  EXPECT_EQ("ns", Parameter("Event.Server.S1.Type"));
  EXPECT_EQ("NsIndex=1\n", Add(network_storage_list)) << "nothing changes, nothing is saved";
  EXPECT_EQ("(none)", Parameter("Event.Server.S2.Type"));
}

TEST(ListInstance, IsNotMadeFromABadTemplateOrList) {
  const std::vector<std::tuple<const char*, const char*, const char*>> cases = {
      // the template or the list, and what is said of it
      {"Media.xml", "<root><Media>",
       "#Error: unable to open template file\n#Error: Media not supported yet\n"},
      {"Media.xml", "<conf/>", "#Error: unable to find root\n"},
      {"Media.xml", "<root><Medium/></root>", "#Error: unable to get template node \n"},
      {"Media.xml", "<root><Media op='2'/></root>", "#Error: Permission Denined \n"},
      {"Media.xml", "<root><Media op='3x'/></root>", "#Error: Permission Denined \n"},
      {nullptr, "<root/>", "#Error: Event.Media not added yet\n"},
      {nullptr, "<root><Event><Media/></Event></root>", "#Error: find max cnt node fail!!\n"},
      {nullptr, "<root><Event><Media><MaxCnt><x/></MaxCnt></Media></Event></root>",
       "#Error: get max cnt value fail!!\n"},
  };
  for (const auto& [name, content, output] : cases) {
    FitBareCamera();
    camera.files[name != nullptr ? "/opt/template/" + std::string(name) : device_conf] = content;
    EXPECT_EQ(output, Add(media_list)) << "and nothing is saved";
  }
  camera.files.erase("/opt/template/Media.xml");
  EXPECT_EQ("#Error: /opt/template/Media.xml not exist !!\n#Error: Media not supported yet\n",
            Add(media_list));
}

// Instances of the module's that the configuration lacks; the server takes the first free place.
TEST(ListInstance, ComesBackWithARestore) {
  for (const std::string owner : {"NS", "LS", "FTP"}) {
    FitBareCamera();
    const Parameters settings = {
        {"Event.MemoryCard.Enabled", "on"},          {"Event.Media.M0.Type", "snapshot"},
        {"Event.Scheduled.S0.Enabled", "on"},        {"Event.Scheduled.S0.ServerType", owner},
        {"Event.Server.S0.Location", "nas:/video"},  {"Event.Server.S0.Password", "none"},
        {"Event.Server.S0.Protocol", "nfs"},         {"Event.Server.S0.Type", "ns"},
        {"General.UserID.U0.User", "YTpi,00010001"}, {"General.UserID.U3.User", "YTpi,00000100"},
        {"StreamProfile.I1.Video.FPS", "25"},        {"StreamProfile.I1.Video.Name", "Second"},
    };
    for (const auto& [path, value] : settings) SetParameter(path, value);
    SetParameter("General.UserID.Admin", "YTpi");  // no list's
    NsIndex = 0;
    (void)OutputOf([] { EXPECT_EQ(0, Nv_InitEEprom()); });
    camera.files[device_conf] = bare_configuration;
    NsIndex = -1;
    const std::string output = OutputOf([] { EXPECT_EQ(0, Nv_ReadBackCheck()); });
    for (const char* line :
         {"pTmp=Event.Scheduled.S0.", "\nadd index=1\n", "NsIndex=0\n", "j=4\n"}) {
      EXPECT_EQ(line[0] == 'p' && owner == "FTP", output.find(line) == std::string::npos) << line;
    }
    for (const char* line : {"security section j=5\n", "pTmp=StreamProfile"}) {
      EXPECT_EQ(std::string::npos, output.find(line)) << line;
    }
    EXPECT_EQ(0, NsIndex);
    for (const auto& [path, value] : settings) {
      const bool is_nobodys = owner == "FTP" && path.starts_with("Event.Scheduled");
      EXPECT_EQ(is_nobodys ? "(none)" : value, Parameter(path)) << path;
    }
    EXPECT_EQ("(none)", Parameter("General.UserID.U1.User")) << "a user without a name";
    EXPECT_EQ("(none)", Parameter("StreamProfile.I2.Video.Name")) << "a profile without a name";
  }
}

}  // namespace
