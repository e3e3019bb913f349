// SPDX-License-Identifier: MIT
// xmlcfg: the command-line front end to the configuration store.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "platform/libcfg.h"

namespace {

constexpr const char* daemon_socket = "/tmp/nv.sck";
constexpr const char* usage = "usage: xmlcfg -g PATH FILE | xmlcfg -s PATH VALUE FILE\n";

using ConfigHandle = std::unique_ptr<cfg_handle, decltype(&cfg_deinit)>;

int Fail(const char* reason, const char* what) {
  (void)std::fprintf(stderr, "xmlcfg: %s: %s\n", reason, what);
  return 1;
}

int Report(const char* path, const char* value) {
  const std::string message = std::string(path) + "=" + value;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, daemon_socket, sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  const bool sent = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                    send(fd, message.data(), message.size(), MSG_NOSIGNAL) ==
                        static_cast<ssize_t>(message.size());
  (void)close(fd);
  return sent ? 0 : -1;
}

int GetOrSet(const char* path, const char* new_value, const char* file) {
  const ConfigHandle handle(cfg_init(file), cfg_deinit);
  cfg_node* root = handle ? cfg_find_param_node(handle.get(), "root") : nullptr;
  if (root == nullptr) return Fail("not a readable configuration file", file);
  cfg_node* node = cfg_find_param_node(root, path);
  std::array<char, 4096> value;
  if (node == nullptr || cfg_get_param_value(node, value.data(), value.size()) != 0) {
    return Fail("no such parameter", path);
  }
  if (new_value == nullptr) return std::printf("%s=%s\n", path, value.data()) < 0 ? 1 : 0;
  if (cfg_set_param_value(node, new_value) != 0 || cfg_save_file(handle.get(), file) != 0) {
    return Fail("can't save", file);
  }
  if (Report(path, new_value) != 0) {
    (void)std::fprintf(stderr, "xmlcfg: saved, but nvd is not there to be told: %s\n", path);
  }
  return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  // "+": options end at the path, so that a value such as "-1" is not taken for one.
  const int option = getopt(argc, argv, "+gs");
  const int operands = argc - optind;
  if (option == 'g' && operands == 2) return GetOrSet(argv[optind], nullptr, argv[optind + 1]);
  if (option == 's' && operands == 3) {
    return GetOrSet(argv[optind], argv[optind + 1], argv[optind + 2]);
  }
  if (option != '?') (void)std::fputs(usage, stderr);
  return 1;
}
