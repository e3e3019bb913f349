// SPDX-License-Identifier: MIT
// The configuration library on real files. "Libcfg" holds for a camera's own library as well;
// "LibcfgFile" is what ours does with a file.
#include "platform/libcfg.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>

#include "tests/platform/temporary_folder.h"

namespace {

struct Loaded {
  std::string path;
  cfg_handle* handle = cfg_init(path.c_str());
  cfg_node* root = handle == nullptr ? nullptr : cfg_find_param_node(handle, "root");

  explicit Loaded(std::string file) : path(std::move(file)) {}
  ~Loaded() { cfg_deinit(handle); }

  int Save() const { return cfg_save_file(handle, path.c_str()); }
  int Set(const char* where, const std::string& value) const {
    return cfg_set_param_value(cfg_find_param_node(root, where), value.c_str());
  }
  std::string Get(const char* where, int size = 128) const {
    std::string value(static_cast<std::size_t>(size), '#');
    cfg_node* node = cfg_find_param_node(root, where);
    if (node == nullptr) return "(none)";
    return cfg_get_param_value(node, value.data(), size) == 0 ? value.c_str() : "(no value)";
  }
};

constexpr const char* camera_file =
    "\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<!-- <root> comes below -->\n<!DOCTYPE root>\n<root>\n"
    "\t<General op=\"3\" note=\"a  > b\">\n\t\t<!-- inside -->\n"
    "\t\t<Name op=\"x\">caf\xC3\xA9 &amp; bar</Name><Blank>  </Blank><Name>second</Name>\n"
    "\t\t<Lines>one\r\ntwo</Lines><Empty/><?pi data?><Raw>x<![CDATA[<&>]]>y</Raw>\n"
    "\t</General>\n</root>\n<!-- after </root> -->\n";

TEST(Libcfg, FindsWalksAndChanges) {
  const TemporaryFolder folder;
  const Loaded file(folder.Write("device.conf", camera_file));
  for (const std::string line :
       {"General.Name=caf\xC3\xA9 & bar", "General.Blank=  ", "General.Raw=x<&>y",
        "General.Lines=one\r\ntwo", "General.Empty=", "General=(no value)", "General.=(none)",
        "General..Name=(none)", "General.name=(none)"}) {
    const std::string path = line.substr(0, line.find('='));
    EXPECT_EQ(line, path + "=" + file.Get(path.c_str()));
  }
  EXPECT_EQ("caf", file.Get("General.Name", 4));
  cfg_node* general = cfg_find_param_node(file.root, "General");
  EXPECT_EQ(3, cfg_get_node_op_mode(general, 0));
  std::string walk;
  for (cfg_node* node = cfg_walk_next(general, general, 1); node != nullptr && node != general;
       node = cfg_walk_next(node, general, 1)) {
    std::array<char, 11> path;
    cfg_get_node_pathname(node, file.root, path.data(), path.size());
    walk += std::string(path.data()) + " ";
  }
  EXPECT_EQ("General.Na General.Bl General.Na General.Li General.Em General.Ra ", walk);

  EXPECT_EQ(0, file.Set("General.Raw", "<1> & \"2\""));
  EXPECT_EQ(-1, file.Set("General", "x"));
  cfg_node* added = cfg_add_param_node(file.root, "List.New.Deep");
  EXPECT_EQ(added, cfg_add_param_node(file.root, "List.New.Deep")) << "an existing one is found";
  EXPECT_EQ(0, cfg_add_param_value(added, "5"));
  EXPECT_EQ(0, cfg_cp_node_attr(cfg_find_param_node(file.root, "List"), general));
  EXPECT_EQ(0, cfg_cp_node_attr_spec(added, general, "op"));
  EXPECT_EQ(-1, cfg_cp_node_attr_spec(added, general, "none"));
  EXPECT_EQ(0, file.Save());
  const Loaded saved(file.path);
  EXPECT_EQ("<1> & \"2\"", saved.Get("General.Raw"));
  EXPECT_EQ("5", saved.Get("List.New.Deep"));
  EXPECT_EQ(3, cfg_get_node_op_mode(cfg_find_param_node(saved.root, "List.New.Deep"), 0));
}

// A file that would stay as it is, is not written.
TEST(LibcfgFile, KeepsWhatNobodyChangesAndRefusesWhatIsNoConfiguration) {
  std::string camera_file_after = camera_file;
  camera_file_after.insert(camera_file_after.find("</root>"), "<New/>");
  for (const auto& [content, after] : std::initializer_list<std::pair<std::string, std::string>>{
           {camera_file, camera_file_after},
           {"<root a='</root>'/>\n<!-- </root> -->",
            "<root a=\"&lt;/root>\"><New/></root>\n<!-- </root> -->"},
           {"<!-- <root> --><root  >1 > 0</root >", "<!-- <root> --><root>1 &gt; 0<New/></root>"},
           {std::string("<root>1</root>\n\0</b>", 20), "<root>1<New/></root>\n"}}) {
    const TemporaryFolder folder;
    const Loaded file(folder.Write("device.conf", content));
    EXPECT_EQ(0, file.Save());
    EXPECT_EQ(content, folder.Read("device.conf"));
    EXPECT_NE(nullptr, cfg_add_param_node(file.root, "New"));
    EXPECT_EQ(0, file.Save());
    EXPECT_EQ(after, folder.Read("device.conf"));
    std::filesystem::create_hard_link(file.path, folder.path + "/before");
    EXPECT_EQ(0, file.Set("New", ""));
    EXPECT_EQ(0, file.Save());
    EXPECT_TRUE(std::filesystem::equivalent(file.path, folder.path + "/before"));
    EXPECT_FALSE(std::filesystem::exists(folder.path + "/.device.conf.new"));
  }
  const TemporaryFolder folder;
  for (const char* content :
       {"", "text", "<root><A></root>", "<root><A>1</A></roo", "<!-- only -->", "<x/><root/>",
        "text<root/>", "<root/>text", "<root a='1' a='2'/>", "<root>&#x000;</root>",
        "<!DOCTYPE root [<!ENTITY e \"y\">]><root>&e;</root>"}) {
    EXPECT_EQ(nullptr, Loaded(folder.Write("device.conf", content)).handle) << content;
  }
}

// The walk hands out second elements of a name. No path leads to them, and a save changes what a
// path leads to.
TEST(LibcfgFile, ChangesFirstElementsOnly) {
  const TemporaryFolder folder;
  const Loaded file(folder.Write("device.conf",
                                 "<root op=\"1\"><?A b?><A>1</A><A>2</A>"
                                 "<L><A>3</A></L><L><A>4</A></L></root>"));
  std::vector<cfg_node*> nodes;
  for (cfg_node* node = file.root; (node = cfg_walk_next(node, file.root, 1)) != nullptr;) {
    nodes.push_back(node);
  }
  std::string results;
  for (cfg_node* node : nodes) {
    results += std::to_string(cfg_cp_node_attr_spec(node, file.root, "op"));
    results += std::to_string(cfg_cp_node_attr(node, file.root));
    results += std::to_string(cfg_set_param_value(node, "x"));
    results += cfg_add_param_node(node, "N") == nullptr ? "- " : "N ";
  }
  EXPECT_EQ("000N -1-1-1- 00-1N 000N -1-1-1- -1-1-1- ", results);
  EXPECT_EQ(nullptr, cfg_add_param_node(file.handle, "second")) << "beside the document element";
  EXPECT_EQ(0, file.Save());
  EXPECT_EQ(
      "<root op=\"1\"><?A b?><A op=\"1\">x<N/></A><A>2</A>"
      "<L op=\"1\"><A op=\"1\">x<N/></A><N/></L><L><A>4</A></L></root>",
      folder.Read("device.conf"));
}

struct Merge {
  void (*change)(const Loaded& file);
  std::string_view theirs, expected;
  int result;
};
constexpr const char* loaded = "<root><A>1</A><B op=\"1\">2</B></root>";
constexpr auto set_a = [](const Loaded& file) { (void)file.Set("A", "own"); };
constexpr auto add_m = [](const Loaded& file) {
  cfg_node* added = cfg_add_param_node(file.root, "L.N.M");
  (void)cfg_add_param_value(added, "5");
  (void)cfg_cp_node_attr(added, cfg_find_param_node(file.root, "B"));
};
constexpr std::array merges = {
    Merge{set_a, "<!-- new --><root><B op=\"7\">7</B><A>7</A></root>",
          "<!-- new --><root><B op=\"7\">7</B><A>own</A></root>", 0},
    Merge{add_m, "<root><L><N>x</N></L></root>", "<root><L><N>x<M op=\"1\">5</M></N></L></root>",
          0},
    Merge{[](const Loaded& file) { set_a(file), (void)file.Save(), (void)file.Set("B", "own"); },
          "<root><A>7</A><B>7</B></root>", "<root><A>7</A><B>own</B></root>", 0},
    Merge{[](const Loaded& file) { set_a(file), (void)file.Set("B", "own"); },
          "<root><A><C/></A><B>2</B></root>", "<root><A><C/></A><B>own</B></root>", -1},
    Merge{[](const Loaded& file) { (void)file.Set("A", ""); }, "<root><A>x<![CDATA[y]]></A></root>",
          "<root><A/></root>", 0},
    Merge{set_a, "<root><B/></root>", "<root><B/></root>", -1},
    Merge{set_a, "<root>", "<root>", -1},
    Merge{add_m, "<device/>", "<device/>", -1},
    Merge{set_a, "", "<root><A>own</A><B op=\"1\">2</B></root>", 0},
};

TEST(LibcfgFile, SavesItsOwnChangesOnly) {
  for (const auto& [change, theirs, expected, result] : merges) {
    const TemporaryFolder folder;
    const Loaded file(folder.Write("device.conf", loaded));
    change(file);
    folder.Write("device.conf", theirs);
    if (theirs.empty()) std::filesystem::remove(file.path);
    EXPECT_EQ(result, file.Save()) << expected;
    EXPECT_EQ(expected, folder.Read("device.conf"));
    EXPECT_EQ(result, file.Save()) << "and again: " << expected;
    const auto mode = std::filesystem::status(file.path).permissions();
    EXPECT_TRUE(!theirs.empty() || mode == std::filesystem::perms(0644)) << "a new file's";
  }
}

// Two programs count in one file, each for itself. A saver that hangs is waited for a while.
TEST(LibcfgFile, LosesNothingBesideOtherSavers) {
  const TemporaryFolder folder;
  const std::string path = folder.path + "/link";
  std::filesystem::create_symlink(folder.Write("device.conf", "<root><A>0</A><B>0</B></root>"),
                                  path);
  std::filesystem::permissions(path, std::filesystem::perms(0640));
  const pid_t child = fork();
  for (int i = 0; i < 50; ++i) {
    const Loaded file(path);
    const char* mine = child == 0 ? "A" : "B";
    EXPECT_EQ(0, file.Set(mine, std::to_string(std::stoi(file.Get(mine)) + 1)));
    EXPECT_EQ(0, file.Save());
  }
  if (child == 0) _exit(0);
  ASSERT_EQ(child, waitpid(child, nullptr, 0));
  EXPECT_EQ("<root><A>50</A><B>50</B></root>", folder.Read("device.conf"));
  EXPECT_EQ(std::filesystem::perms(0640), std::filesystem::status(path).permissions());

  const int lock = open(folder.Write(".device.conf.new", "").c_str(), O_RDONLY);
  ASSERT_EQ(0, flock(lock, LOCK_EX));
  const Loaded file(path);
  EXPECT_EQ(0, file.Set("A", "x"));
  const std::time_t start = std::time(nullptr);
  EXPECT_EQ(-1, file.Save());
  EXPECT_NEAR(5, static_cast<double>(std::time(nullptr) - start), 1);
  EXPECT_EQ(0, close(lock));
  EXPECT_EQ(0, file.Save());
}

// Characters at the bounds of what XML and UTF-8 know; behind the empty one those beyond them.
// clang-format off
constexpr std::array<std::string_view, 33> characters = {
    "<", "&", "\"", ">", "\t", "\n", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80",
    "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBD", "\xF0\x90\x80\x80", "\xF3\xBF\xBF\xBF", "\xF4\x8F\xBF\xBF",
    "", "\x01", "\x1F", "\x80", "\xFF", "\xC1\xBF", "\xDF\xC0", "\xE0\x9F\xBF", "\xE1\x80\x7F", "\xE1\xBF\xC0",
    "\xED\xA0\x80", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF1\x80\x80\x7F", "\xF4\x90\x80\x80",
    "\xF5\x80\x80\x80"};
// clang-format on

TEST(LibcfgFile, HoldsWhatEveryReaderTakes) {
  const TemporaryFolder folder;
  const Loaded file(folder.Write("device.conf", "<root><V>old</V></root>"));
  bool is_known = true;
  for (const std::string_view character : characters) {
    is_known = is_known && !character.empty();
    const std::string value = "a" + std::string(character) + "b";
    EXPECT_EQ(is_known || character.empty() ? 0 : -1, file.Set("V", value))
        << testing::PrintToString(value);
    for (std::size_t size = 1; is_known && size < character.size(); ++size) {
      const std::string begun(character.substr(0, size));
      EXPECT_EQ(-1, file.Set("V", begun + "b"));
      EXPECT_EQ(0, file.Set("V", value + begun));
      EXPECT_EQ(value, file.Get("V")) << "what a cut has left is dropped";
    }
  }
  for (const char* name : {"", "V.", "V.1st", "V.a b", "V.a<b", "V.\xFF", "V.\xC3\x97"}) {
    EXPECT_EQ(nullptr, cfg_add_param_node(file.root, name)) << name;
  }
  const Loaded others(folder.Write("others", "<root a:b-1.c='1' \xC3\x97='2'/>"));
  EXPECT_EQ(0, cfg_cp_node_attr(file.root, others.root));
  EXPECT_EQ(0, file.Set("V", "<&\">\t\n") + file.Save());
  EXPECT_EQ("<root a:b-1.c=\"1\"><V>&lt;&amp;\"&gt;\t\n</V></root>", folder.Read("device.conf"));
}

}  // namespace
