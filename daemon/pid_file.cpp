// SPDX-License-Identifier: MIT
#include "daemon/pid_file.h"

#include <syslog.h>
#include <unistd.h>

#include <cstdio>

#include "daemon/log.h"

namespace {

constexpr const char* pid_file_path = "/var/run/nvd.pid";

}  // namespace

void Nv_WritePidFile() {
  std::FILE* file = std::fopen(pid_file_path, "we");
  if (file == nullptr) {
    Nv_Syslog(log_ident, LOG_ERR, "Open file %s error", pid_file_path);
    return;
  }
  // A full disk leaves an empty file, which names nobody.
  (void)std::fprintf(file, "%d", getpid());
  (void)std::fclose(file);
}

void Nv_RemovePidFile() { (void)unlink(pid_file_path); }
