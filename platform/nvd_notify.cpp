// SPDX-License-Identifier: MIT
// nvd-notify: sends one message to the daemon's control socket.
//
// The daemon never answers, but it closes the connection when it has handled the message. Waiting
// for that tells the caller when the message has had its effect; -n does without.
#include <getopt.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "platform/notify.h"
#include "platform/program.h"

namespace {

constexpr const char* usage = "nvd-notify [-n] [-s SOCKET] [--] MESSAGE";
constexpr const char* help =
    "usage: nvd-notify [-n] [-s SOCKET] [--] MESSAGE\n"
    "Sends one message to nvd; \"-\" is standard input, as it is.\n"
    "  -n         do not wait until nvd has handled it\n"
    "  -s SOCKET  nvd's control socket (default: /tmp/nv.sck)\n";
constexpr std::array<option, 3> long_options = {{
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'v'},
    {},
}};

struct Arguments {
  const char* socket_path = notify_socket;
  bool waits = true;
  bool has_help = false;
  bool has_version = false;
};

int FailUsage() {
  Program_Complain("usage", usage);
  return 2;
}

// False for an option that there is not; getopt has said so.
bool Parse(int argc, char* argv[], Arguments& arguments) {
  for (int option = 0;
       (option = getopt_long(argc, argv, "+ns:", long_options.data(), nullptr)) != -1;) {
    if (option == '?') return false;
    if (option == 's') arguments.socket_path = optarg;
    if (option == 'n') arguments.waits = false;
    if (option == 'h') arguments.has_help = true;
    if (option == 'v') arguments.has_version = true;
  }
  return true;
}

int Send(const Arguments& arguments, std::string_view message) {
  if (message.size() > notify_longest_message) {
    const std::string lengths = "nvd takes " + std::to_string(notify_longest_message) +
                                " bytes, not " + std::to_string(message.size());
    Program_Complain("message too long", lengths.c_str());
  }
  const int connection = Notify_Send(arguments.socket_path, message);
  if (connection < 0 || (arguments.waits && Notify_WaitForEnd(connection, message.size()) != 0)) {
    Program_Complain(arguments.socket_path, Notify_Reason());
    return 1;
  }
  (void)close(connection);
  return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  Arguments arguments;
  if (!Parse(argc, argv, arguments)) return 2;
  if (arguments.has_help) return Program_Print(help);
  if (arguments.has_version) return Program_Print("nvd-notify " NVD_VERSION "\n");
  if (argc - optind != 1) return FailUsage();
  std::string_view message = argv[optind];
  std::array<char, 4096> input;
  if (message == "-") message = {input.data(), std::fread(input.data(), 1, input.size(), stdin)};
  return Send(arguments, message);
}
