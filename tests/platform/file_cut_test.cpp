// SPDX-License-Identifier: MIT
// Saving a file, cut, failing or disturbed at each system call: it is the old one or the new one.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "platform/file.h"
#include "tests/platform/temporary_folder.h"

namespace {

enum class Trouble { none, cut_before, cut_after, fails, interrupted, half, overtaken };

Trouble trouble = Trouble::none;
std::size_t trouble_at = 0;  // the number of the call, from 1
std::string trouble_in;      // the folder
std::vector<std::string> calls;

bool Hits(Trouble what) { return calls.size() == trouble_at && trouble == what; }

// Counts the call; true when it is to go through.
bool Passes(const char* name) {
  calls.emplace_back(name);
  if (Hits(Trouble::cut_before)) _exit(2);
  errno = Hits(Trouble::interrupted) ? EINTR : ENOSPC;
  return !Hits(Trouble::fails) && !Hits(Trouble::interrupted);
}

// Until now another saver had the lock, and has renamed the file that is to be locked; a third one
// has made the next.
int Overtake(int fd) {
  if (Hits(Trouble::overtaken)) {
    std::filesystem::rename(trouble_in + "/.device.conf.new", trouble_in + "/device.conf");
    std::ofstream(trouble_in + "/.device.conf.new");
  }
  return fd;
}

}  // namespace

// NOLINTBEGIN: the linker prescribes the names, the C library the parameters
#define WRAP(type, name, parameters, arguments)  \
  extern "C" type __real_##name parameters;      \
  extern "C" type __wrap_##name parameters;      \
  extern "C" type __wrap_##name parameters {     \
    if (!Passes(#name)) return -1;               \
    const type result = __real_##name arguments; \
    if (Hits(Trouble::cut_after)) _exit(2);      \
    return result;                               \
  }
WRAP(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
WRAP(int, open64, (const char* path, int flags, mode_t mode), (path, flags, mode))
WRAP(int, flock, (int fd, int operation), (Overtake(fd), operation))
WRAP(int, fchown, (int fd, uid_t user, gid_t group), (fd, user, group))
WRAP(int, ftruncate, (int fd, long size), (fd, size))
WRAP(int, ftruncate64, (int fd, long long size), (fd, size))
WRAP(ssize_t, read, (int fd, void* data, size_t size),
     (fd, data, Hits(Trouble::half) ? size / 2 : size))
WRAP(ssize_t, write, (int fd, const void* data, size_t size),
     (fd, data, Hits(Trouble::half) ? size / 2 : size))
WRAP(int, fsync, (int fd), (fd))
WRAP(int, rename, (const char* from, const char* to), (from, to))
WRAP(int, unlink, (const char* path), (path))
// NOLINTEND

namespace {

const std::string old_file(40000, 'o');
const std::string new_file(50000, 'n');

// Saves in a process of its own. Returns 0, 1 for a failed save, 2 for a cut.
int SaveWith(const TemporaryFolder& folder, Trouble what, std::size_t at) {
  const pid_t child = fork();
  if (child == 0) {
    calls.clear();
    trouble = what;
    trouble_at = at;
    trouble_in = folder.path;
    _exit(File_Replace((folder.path + "/device.conf").c_str(), new_file) == 0 ? 0 : 1);
  }
  int status = -1;
  return waitpid(child, &status, 0) == child ? WEXITSTATUS(status) : -1;
}

TEST(FileCut, LeavesTheOldFileOrTheNewOne) {
  ASSERT_EQ(0, File_Replace(TemporaryFolder().Write("device.conf", old_file).c_str(), new_file));
  const auto trace = calls;
  const auto number = [&trace](const char* name) {
    return static_cast<std::size_t>(std::ranges::find(trace, name) - trace.begin()) + 1;
  };
  ASSERT_LT(number("write"), number("fsync"));
  ASSERT_LT(number("fsync"), number("rename")) << "the content is on the disk before it counts";
  ASSERT_EQ(2, std::ranges::count(trace, "fsync")) << "so is the folder in the end";
  ASSERT_LT(number("fchown"), number("rename")) << "the owner stays";
  for (std::size_t at = 1; at <= trace.size(); ++at) {
    for (const Trouble what : {Trouble::cut_before, Trouble::cut_after, Trouble::fails,
                               Trouble::interrupted, Trouble::half, Trouble::overtaken}) {
      const std::string& name = trace[at - 1];
      SCOPED_TRACE(testing::Message() << "call " << at << ", " << name);
      const TemporaryFolder folder;
      const std::string file = folder.Write("device.conf", old_file);
      const bool is_cut = what == Trouble::cut_before || what == Trouble::cut_after;
      const bool is_harmless =
          what >= Trouble::half || name == "fchown" ||
          (what == Trouble::interrupted && (name == "read" || name == "write"));
      const bool is_new = at > number("rename") ||
                          (is_cut ? name == "rename" && what == Trouble::cut_after : is_harmless);
      const int failed = is_new ? 0 : 1;
      const auto temporary_stays = [&folder] {
        return std::filesystem::exists(folder.path + "/.device.conf.new");
      };
      EXPECT_EQ(is_cut ? 2 : failed, SaveWith(folder, what, at));
      EXPECT_TRUE(folder.Read("device.conf") == (is_new ? new_file : old_file));
      EXPECT_TRUE(is_cut || name == "flock" || !temporary_stays()) << "no room is left taken";
      EXPECT_EQ(0, File_Replace(file.c_str(), "short")) << "the next save works";
      EXPECT_EQ("short", folder.Read("device.conf")) << "and holds no rest of the last one";
      EXPECT_FALSE(temporary_stays()) << "and cleans up";
    }
  }
}

}  // namespace
