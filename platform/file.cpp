// SPDX-License-Identifier: MIT
#include "platform/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/host.h"

namespace {

int WriteAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = write(fd, content.data(), content.size());
    if (written < 0 && errno != EINTR) return -1;
    if (written > 0) content.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

// A file that is gone has no owner and mode to keep.
void CopyOwnerAndMode(int fd, const char* path) {
  constexpr mode_t mode_of_a_new_file = 0644;
  struct stat old {};
  const bool exists = stat(path, &old) == 0;
  if (exists && fchown(fd, old.st_uid, old.st_gid) != 0) {
    // Only root may give a file away; for everybody else it stays the saver's own.
  }
  (void)fchmod(fd, exists ? old.st_mode & 07777U : mode_of_a_new_file);
}

// Opens the temporary file and locks it against other savers. Returns -1 with errno EWOULDBLOCK
// when one of them has it. It has a fixed name, so that what a power cut leaves behind is used by
// the next save instead of filling the flash; whoever gets the lock of a file that has just been
// renamed has to start again.
int TryToLock(const char* path) {
  const int fd = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return -1;
  struct stat opened {};
  struct stat current {};
  if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
    if (fstat(fd, &opened) == 0 && stat(path, &current) == 0 && opened.st_ino == current.st_ino) {
      return fd;
    }
    errno = EWOULDBLOCK;
  }
  const int error = errno;
  (void)close(fd);
  errno = error;
  return -1;
}

// A saver that hangs must not stop the others for good.
int OpenLocked(const char* path) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::seconds patience(5);
  constexpr unsigned pause_us = 10000;
  const Clock::time_point deadline = Clock::now() + patience;
  int fd = TryToLock(path);
  while (fd < 0 && errno == EWOULDBLOCK && Clock::now() < deadline) {
    Host_SleepMicroseconds(pause_us);
    fd = TryToLock(path);
  }
  return fd;
}

int FlushFolder(const char* folder) {
  const int fd = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return -1;
  const int result = fsync(fd);
  (void)close(fd);
  return result;
}

struct Target {
  std::string file;  // links followed
  std::string folder;
  std::string temporary;
};

bool Resolve(const char* path, Target& target) {
  std::array<char, PATH_MAX> resolved;
  if (realpath(path, resolved.data()) == nullptr) {
    if (errno != ENOENT) return false;
    if (std::snprintf(resolved.data(), resolved.size(), "%s", path) >= PATH_MAX) return false;
  }
  target.file = resolved.data();
  const std::size_t name = target.file.rfind('/') + 1;  // 0 when there is no "/"
  target.folder = name == 0 ? "." : target.file.substr(0, name);
  target.temporary = target.file.substr(0, name) + "." + target.file.substr(name) + ".new";
  return true;
}

int Replace(int fd, const Target& target, std::string_view content) {
  CopyOwnerAndMode(fd, target.file.c_str());
  if (ftruncate(fd, 0) != 0 || WriteAll(fd, content) != 0 || fsync(fd) != 0) return -1;
  return rename(target.temporary.c_str(), target.file.c_str());
}

// With the temporary file locked: no other saver is at work.
int UpdateLocked(int fd, const Target& target, const FileChange& change) {
  std::string present;
  std::string next;
  const bool exists = File_Read(target.file.c_str(), present) == 0;
  const bool is_made = (exists || errno == ENOENT) && change(exists ? &present : nullptr, next);
  const bool is_same = is_made && exists && present == next;
  if (is_made && !is_same && Replace(fd, target, next) == 0) {
    // The new file is in place; a cut now shows the old or the new.
    (void)FlushFolder(target.folder.c_str());
    return 0;
  }
  (void)unlink(target.temporary.c_str());
  return is_same ? 0 : -1;
}

}  // namespace

bool File_Exists(const char* path) { return access(path, F_OK) == 0; }

// Standard input need not be a file that can be opened once more, and may have been read from.
int File_Read(const char* path, std::string& content) {
  content.clear();
  const bool is_input = std::strcmp(path, "/dev/stdin") == 0;
  const int fd =
      is_input ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -1;
  struct stat status {};
  constexpr off_t credible_size = off_t{1024} * 1024;
  if (fstat(fd, &status) == 0 && status.st_size < credible_size) {
    content.reserve(static_cast<std::size_t>(status.st_size));
  }
  std::array<char, 16384> block;
  ssize_t length = 0;
  while ((length = read(fd, block.data(), block.size())) > 0 || (length < 0 && errno == EINTR)) {
    if (length > 0) content.append(block.data(), static_cast<std::size_t>(length));
  }
  (void)close(fd);
  return length < 0 ? -1 : 0;
}

int File_Update(const char* path, const FileChange& change) {
  Target target;
  if (!Resolve(path, target)) return -1;
  const int fd = OpenLocked(target.temporary.c_str());
  if (fd < 0) return -1;
  const int result = UpdateLocked(fd, target, change);
  (void)close(fd);  // and with it the lock
  return result;
}

int File_Replace(const char* path, std::string_view content) {
  return File_Update(path, [content](const std::string*, std::string& next) {
    next = content;
    return true;
  });
}
