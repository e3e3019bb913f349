// SPDX-License-Identifier: MIT
// Saving device.conf, cut or failing at each system call: the file is the old one or the new one.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/libcfg.h"
#include "tests/platform/temporary_folder.h"

namespace {

enum class Trouble { none, cut_before, cut_after, fails, half };

Trouble trouble = Trouble::none;
int trouble_at = -1;  // the number of the call, from 0
std::vector<std::string> calls;

// Counts the call; true when it is to go through.
bool Passes(const char* name) {
  const bool hit = static_cast<int>(calls.size()) == trouble_at;
  calls.emplace_back(name);
  if (!hit || trouble == Trouble::cut_after || trouble == Trouble::half) return true;
  if (trouble == Trouble::cut_before) _exit(0);
  errno = ENOSPC;
  return trouble != Trouble::fails;
}

template <typename Result>
Result Done(Result result) {
  if (static_cast<int>(calls.size()) - 1 == trouble_at && trouble == Trouble::cut_after) _exit(0);
  return result;
}

bool IsHalved() {
  return static_cast<int>(calls.size()) - 1 == trouble_at && trouble == Trouble::half;
}

}  // namespace

// NOLINTBEGIN: the linker prescribes the names, the C library the parameters
#define WRAP(result, name, parameters, arguments)                      \
  extern "C" result __real_##name parameters;                          \
  extern "C" result __wrap_##name parameters;                          \
  extern "C" result __wrap_##name parameters {                         \
    return Passes(#name) ? Done<result>(__real_##name arguments) : -1; \
  }
WRAP(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
WRAP(int, open64, (const char* path, int flags, mode_t mode), (path, flags, mode))
WRAP(int, flock, (int fd, int operation), (fd, operation))
WRAP(int, fchown, (int fd, uid_t user, gid_t group), (fd, user, group))
WRAP(int, fchmod, (int fd, mode_t mode), (fd, mode))
WRAP(int, ftruncate, (int fd, long size), (fd, size))
WRAP(int, ftruncate64, (int fd, long long size), (fd, size))
WRAP(ssize_t, write, (int fd, const void* data, size_t size),
     (fd, data, IsHalved() ? size / 2 : size))
WRAP(int, fsync, (int fd), (fd))
WRAP(int, rename, (const char* from, const char* to), (from, to))
WRAP(int, unlink, (const char* path), (path))
WRAP(int, close, (int fd), (fd))
// NOLINTEND

namespace {

std::string Saved(char letter) {
  return "<root><General><Name>" + std::string(40000, letter) + "</Name></General></root>";
}

struct Folder : TemporaryFolder {
  std::string file = path + "/device.conf";

  Folder() { EXPECT_EQ(0, Save('o', Trouble::none, -1)); }

  int Save(char letter, Trouble what, int at) {
    trouble = what;
    trouble_at = at;
    calls.clear();
    const int result = File_Replace(file.c_str(), Saved(letter));
    trouble = Trouble::none;
    return result;
  }

  // 'o' or 'n': which of the two whole files is there.
  char Version() const {
    std::string content;
    EXPECT_EQ(0, File_Read(file.c_str(), content));
    cfg_handle* handle = cfg_init(file.c_str());
    EXPECT_NE(nullptr, cfg_find_param_node(handle, "root"));
    cfg_deinit(handle);
    if (content == Saved('o')) return 'o';
    return content == Saved('n') ? 'n' : '?';
  }

  std::size_t Entries() const {
    const std::filesystem::directory_iterator all(path);
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
  }
};

// The calls of a save that nothing disturbs.
std::vector<std::string> UndisturbedCalls() {
  Folder folder;
  EXPECT_EQ(0, folder.Save('n', Trouble::none, -1));
  return calls;
}

int Position(const std::vector<std::string>& trace, const char* name) {
  return static_cast<int>(std::ranges::find(trace, name) - trace.begin());
}

TEST(FileCut, LeavesTheOldFileOrTheNewOne) {
  const auto trace = UndisturbedCalls();
  const int rename = Position(trace, "rename");
  ASSERT_LT(Position(trace, "write"), Position(trace, "fsync"));
  ASSERT_LT(Position(trace, "fsync"), rename) << "the content is on the disk before it counts";
  ASSERT_LT(rename, static_cast<int>(trace.size()));
  ASSERT_EQ(2, std::ranges::count(trace, "fsync")) << "so is the folder in the end";

  int cuts = 0;
  int leftovers = 0;
  std::map<char, int> versions;
  for (const Trouble cut : {Trouble::cut_before, Trouble::cut_after}) {
    for (int at = 0; at < static_cast<int>(trace.size()); ++at, ++cuts) {
      SCOPED_TRACE(testing::Message() << "cut at call " << at);
      Folder folder;
      const pid_t child = fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
        (void)folder.Save('n', cut, at);
        _exit(1);  // the save outlived its cut
      }
      int status = -1;
      ASSERT_EQ(child, waitpid(child, &status, 0));
      EXPECT_EQ(0, status);
      const char version = folder.Version();
      ++versions[version];
      EXPECT_EQ(at < rename || (at == rename && cut == Trouble::cut_before) ? 'o' : 'n', version);
      leftovers += folder.Entries() > 1 ? 1 : 0;
      EXPECT_EQ(0, folder.Save('n', Trouble::none, -1)) << "the next save works";
      EXPECT_EQ('n', folder.Version());
      EXPECT_EQ(1U, folder.Entries()) << "and cleans up";
    }
  }
  (void)std::printf("save: %d cuts, %d old file, %d new file, %d left a temporary file\n", cuts,
                    versions['o'], versions['n'], leftovers);
}

TEST(FileCut, FailsWholeOrNotAtAll) {
  const auto trace = UndisturbedCalls();
  for (int at = 0; at < static_cast<int>(trace.size()); ++at) {
    for (const Trouble what : {Trouble::fails, Trouble::half}) {
      const std::string& name = trace[static_cast<std::size_t>(at)];
      SCOPED_TRACE(testing::Message() << "call " << at << ", " << name);
      Folder folder;
      const int result = folder.Save('n', what, at);
      EXPECT_EQ(result == 0 ? 'n' : 'o', folder.Version());
      const bool harmless =
          what == Trouble::half || name.starts_with("fch") || at > Position(trace, "rename");
      EXPECT_EQ(harmless ? 0 : -1, result);
      EXPECT_EQ(0, folder.Save('n', Trouble::none, -1));
      EXPECT_EQ(1U, folder.Entries()) << "no temporary file stays behind";
    }
  }
}

}  // namespace
