// SPDX-License-Identifier: MIT
#include "platform/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

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

// Opens the temporary file and locks it against other savers. It has a fixed name, so that what a
// power cut leaves behind is used by the next save instead of filling the flash. Whoever waited for
// the lock may hold a file that has been renamed meanwhile, and starts again.
int OpenLocked(const char* path) {
  while (true) {
    const int fd = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return -1;
    struct stat opened {};
    struct stat current {};
    if (flock(fd, LOCK_EX) == 0 && fstat(fd, &opened) == 0 && stat(path, &current) == 0 &&
        opened.st_ino == current.st_ino) {
      return fd;
    }
    const bool retry = errno == EINTR || errno == ENOENT || opened.st_ino != current.st_ino;
    (void)close(fd);
    if (!retry) return -1;
  }
}

int FlushFolder(const char* folder) {
  const int fd = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return -1;
  const int result = fsync(fd);
  (void)close(fd);
  return result;
}

}  // namespace

bool File_Exists(const char* path) { return access(path, F_OK) == 0; }

int File_Read(const char* path, std::string& content) {
  content.clear();
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -1;
  std::array<char, 16384> block;
  ssize_t length = 0;
  while ((length = read(fd, block.data(), block.size())) > 0 || (length < 0 && errno == EINTR)) {
    if (length > 0) content.append(block.data(), static_cast<std::size_t>(length));
  }
  (void)close(fd);
  return length < 0 ? -1 : 0;
}

int File_Replace(const char* path, std::string_view content) {
  std::array<char, PATH_MAX> resolved;
  if (realpath(path, resolved.data()) == nullptr) {
    if (errno != ENOENT) return -1;
    if (std::snprintf(resolved.data(), resolved.size(), "%s", path) >= PATH_MAX) return -1;
  }
  const std::string target = resolved.data();
  const std::size_t name = target.rfind('/') + 1;  // 0 when there is no "/"
  const std::string folder = name == 0 ? "." : target.substr(0, name);
  const std::string temporary = target.substr(0, name) + "." + target.substr(name) + ".new";

  const int fd = OpenLocked(temporary.c_str());
  if (fd < 0) return -1;
  CopyOwnerAndMode(fd, target.c_str());
  const bool replaced = ftruncate(fd, 0) == 0 && WriteAll(fd, content) == 0 && fsync(fd) == 0 &&
                        rename(temporary.c_str(), target.c_str()) == 0;
  if (!replaced) (void)unlink(temporary.c_str());
  (void)close(fd);  // and with it the lock
  if (!replaced) return -1;
  (void)FlushFolder(
      folder.c_str());  // the new file is in place; a cut now shows the old or the new
  return 0;
}
