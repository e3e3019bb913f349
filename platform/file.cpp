// SPDX-License-Identifier: MIT
#include "platform/file.h"

#include <fcntl.h>
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
  std::string temporary = target.substr(0, name) + "." + target.substr(name) + ".XXXXXX";

  const int fd = mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) return -1;
  CopyOwnerAndMode(fd, target.c_str());
  const bool written = WriteAll(fd, content) == 0 && fsync(fd) == 0;
  const bool closed = close(fd) == 0;
  if (!written || !closed || rename(temporary.c_str(), target.c_str()) != 0) {
    (void)unlink(temporary.c_str());
    return -1;
  }
  (void)FlushFolder(
      folder.c_str());  // the new file is in place; a cut now shows the old or the new
  return 0;
}
