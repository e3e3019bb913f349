// SPDX-License-Identifier: MIT
// The configuration library on real files: what it finds, what a save leaves alone.
#include "platform/libcfg.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/file.h"
#include "tests/platform/temporary_folder.h"

namespace {

constexpr std::string_view camera_file =
    "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
    "<!-- written by hand: <root> comes below -->\n"
    "<!DOCTYPE root>\n"
    "<root  >\n"
    "\t<General op=\"3\" note=\"a > b\">\n"
    "\t\t<!-- inside -->\n"
    "\t\t<Name op=\"x\">caf\xC3\xA9 &amp; bar</Name><Blank>  </Blank>\n"
    "\t\t<Lines>one\r\ntwo</Lines><Empty/><?pi data?>\n"
    "\t\t<Raw>x<![CDATA[<&>]]>y</Raw><Name>second</Name>\n"
    "\t</General>\n"
    "</root >\n"
    "<!-- after </root> -->\n";

struct Loaded {
  std::string path;
  cfg_handle* handle;
  cfg_node* root;
};

Loaded Load(const TemporaryFolder& folder, std::string_view content) {
  const std::string path = folder.path + "/device.conf";
  EXPECT_EQ(0, File_Replace(path.c_str(), content));
  cfg_handle* handle = cfg_init(path.c_str());
  return {path, handle, handle == nullptr ? nullptr : cfg_find_param_node(handle, "root")};
}

std::string Content(const std::string& path) {
  std::string content;
  EXPECT_EQ(0, File_Read(path.c_str(), content));
  return content;
}

std::string Value(cfg_node* node, int size = 128) {
  std::string value(static_cast<std::size_t>(size), '#');
  return cfg_get_param_value(node, value.data(), size) == 0 ? value.c_str() : "(no value)";
}

TEST(Libcfg, FindsValuesByPath) {
  const TemporaryFolder folder;
  const Loaded file = Load(folder, camera_file);
  ASSERT_NE(nullptr, file.root);
  const auto value = [&](const char* path) { return Value(cfg_find_param_node(file.root, path)); };
  EXPECT_EQ("caf\xC3\xA9 & bar", value("General.Name"));
  EXPECT_EQ("  ", value("General.Blank"));
  EXPECT_EQ("one\r\ntwo", value("General.Lines"));
  EXPECT_EQ("", value("General.Empty"));
  EXPECT_EQ("x<&>y", value("General.Raw"));
  EXPECT_EQ("(no value)", value("General"));
  EXPECT_EQ("caf", Value(cfg_find_param_node(file.root, "General.Name"), 4));
  for (const char* path :
       {"", ".", "General.", ".General", "General..Name", "Name", "General.name"}) {
    EXPECT_EQ(nullptr, cfg_find_param_node(file.root, path)) << path;
  }
  EXPECT_EQ(3, cfg_get_node_op_mode(cfg_find_param_node(file.root, "General"), 0));
  EXPECT_EQ(0, cfg_get_node_op_mode(cfg_find_param_node(file.root, "General.Name"), 0));
  cfg_deinit(file.handle);
}

TEST(Libcfg, SavesAnUnchangedTreeAsItWas) {
  const TemporaryFolder folder;
  const std::vector<std::string_view> files = {
      camera_file,
      "<root/>",
      "<root a='</root>'/>\n<!-- </root> -->",
      "<!-- <root> --><root>\n  <A>1 > 0</A>\n</root>",
  };
  for (const std::string_view content : files) {
    const Loaded file = Load(folder, content);
    ASSERT_NE(nullptr, file.root) << content;
    EXPECT_EQ(0, cfg_save_file(file.handle, file.path.c_str()));
    cfg_deinit(file.handle);
    std::string expected(content);
    // What the printer writes its own way; docs/porting.md lists it.
    for (const auto& [from, to] : {std::pair{"<root  >", "<root>"},
                                   {"</root >\n", "</root>\n"},
                                   {">1 > 0<", ">1 &gt; 0<"},
                                   {"a='</root>'", "a=\"&lt;/root>\""}}) {
      const std::size_t at = expected.find(from);
      if (at != std::string::npos) expected.replace(at, std::string_view(from).size(), to);
    }
    EXPECT_EQ(expected, Content(file.path));
  }
}

TEST(Libcfg, ChangesOneLineForOneValue) {
  const TemporaryFolder folder;
  const Loaded file = Load(folder, camera_file);
  EXPECT_EQ(0, cfg_set_param_value(cfg_find_param_node(file.root, "General.Raw"), "<1> & \"2\""));
  EXPECT_EQ(-1, cfg_set_param_value(cfg_find_param_node(file.root, "General"), "x"));
  EXPECT_EQ(-1, cfg_set_param_value(cfg_find_param_node(file.root, "General.Name"), "\x01"));
  EXPECT_EQ(0, cfg_set_param_value_no_eeprom(cfg_find_param_node(file.root, "General.Empty"), "e"));
  EXPECT_EQ(0, cfg_save_file(file.handle, file.path.c_str()));
  cfg_deinit(file.handle);
  const std::string saved = Content(file.path);
  EXPECT_NE(std::string::npos, saved.find("<Raw>&lt;1&gt; &amp; \"2\"</Raw><Name>second</Name>"));
  EXPECT_NE(std::string::npos, saved.find("<Empty>e</Empty>"));
  EXPECT_NE(std::string::npos, saved.find("\t\t<!-- inside -->\n"));
}

TEST(Libcfg, EndsAFileAtItsFirstNul) {
  const TemporaryFolder folder;
  const Loaded file = Load(folder, std::string_view("<root><A>1</A></root>\n\0</root></b>", 34));
  ASSERT_NE(nullptr, file.root);
  EXPECT_EQ(0, cfg_save_file(file.handle, file.path.c_str()));
  EXPECT_EQ("<root><A>1</A></root>\n", Content(file.path));
  cfg_deinit(file.handle);
}

TEST(Libcfg, RefusesWhatIsNoConfiguration) {
  const TemporaryFolder folder;
  EXPECT_EQ(nullptr, cfg_init((folder.path + "/missing").c_str()));
  EXPECT_EQ(nullptr, cfg_init(folder.path.c_str()));
  for (const std::string_view content :
       {"", "text", "<root>", "<root><A></root>", "<root><A>1</A></roo", "<!-- only -->",
        "<root>&#x000;</root>", "<x/><root/>",
        "<!DOCTYPE root [<!ENTITY e \"y\">]><root>&e;</root>"}) {
    EXPECT_EQ(nullptr, Load(folder, content).handle) << content;
  }
  const Loaded other = Load(folder, "<device><A>1</A></device>");
  EXPECT_NE(nullptr, other.handle);
  EXPECT_EQ(nullptr, other.root);
  cfg_deinit(other.handle);
  cfg_deinit(nullptr);
}

TEST(Libcfg, AddsAndCopiesNodes) {
  const TemporaryFolder folder;
  const Loaded file =
      Load(folder, "<root><L><T op=\"1\" x=\"y\"><A><B>1</B></A><C/></T></L></root>");
  cfg_node* node = cfg_find_param_node(file.root, "L.T");
  std::string walk;
  for (cfg_node* next = cfg_walk_next(node, node, 1); next != nullptr && next != node;
       next = cfg_walk_next(next, node, 1)) {
    std::array<char, 64> path;
    cfg_get_node_pathname(next, node, path.data(), path.size());
    walk += std::string(path.data()) + " ";
  }
  EXPECT_EQ("A A.B C ", walk);
  std::array<char, 4> cut;
  cfg_get_node_pathname(cfg_find_param_node(node, "A.B"), file.root, cut.data(), cut.size());
  EXPECT_STREQ("L.T", cut.data());

  cfg_node* added = cfg_add_param_node(file.root, "L.New.Deep");
  ASSERT_NE(nullptr, added);
  EXPECT_EQ(added, cfg_add_param_node(file.root, "L.New.Deep")) << "an existing one is found";
  EXPECT_EQ(0, cfg_cp_node_attr(added, node));
  EXPECT_EQ(0, cfg_cp_node_attr_spec(cfg_find_param_node(file.root, "L.New"), node, "op"));
  EXPECT_EQ(-1, cfg_cp_node_attr_spec(added, node, "none"));
  for (const char* path : {"", "L.", "L.1st", "L.a b", "L.a<b"}) {
    EXPECT_EQ(nullptr, cfg_add_param_node(file.root, path)) << path;
  }
  EXPECT_EQ(0, cfg_save_file(file.handle, file.path.c_str()));
  EXPECT_NE(std::string::npos,
            Content(file.path).find("<New op=\"1\"><Deep op=\"1\" x=\"y\"/></New></L></root>"));
  cfg_deinit(file.handle);
  EXPECT_EQ(-1, cfg_save_file(file.handle, file.path.c_str())) << "a closed handle saves nothing";
}

TEST(File, IsReplacedWholeOrNotAtAll) {
  const TemporaryFolder folder;
  const std::string path = folder.path + "/file";
  const std::string link = folder.path + "/link";
  ASSERT_EQ(0, File_Replace(path.c_str(), "old"));
  ASSERT_EQ(0, chmod(path.c_str(), 0640));
  std::filesystem::create_symlink(path, link);
  EXPECT_EQ(0, File_Replace(link.c_str(), "new"));
  EXPECT_TRUE(std::filesystem::is_symlink(link)) << "a link stays a link";
  EXPECT_EQ("new", Content(path));
  struct stat status {};
  ASSERT_EQ(0, stat(path.c_str(), &status));
  EXPECT_EQ(0640U, status.st_mode & 0777U);

  EXPECT_EQ(-1, File_Replace((folder.path + "/none/file").c_str(), "x"));
  ASSERT_TRUE(std::filesystem::create_directory(folder.path + "/folder"));
  EXPECT_EQ(-1, File_Replace((folder.path + "/folder").c_str(), "x")) << "rename can't replace it";
  std::size_t entries = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
    EXPECT_TRUE(entry.exists());
    ++entries;
  }
  EXPECT_EQ(3U, entries) << "no temporary file is left behind";
}

}  // namespace
