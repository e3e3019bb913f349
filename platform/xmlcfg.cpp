// SPDX-License-Identifier: MIT
// xmlcfg: the command-line front end to the configuration store.
#include <fnmatch.h>
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "platform/libcfg.h"
#include "platform/libcfg_fault.h"
#include "platform/notify.h"
#include "platform/program.h"

namespace {

constexpr const char* daemons_file = "/etc/device.conf";
constexpr std::string_view standard_input = "-";
constexpr const char* usage = "xmlcfg -g PATH FILE | -s PATH VALUE FILE | -l [PATTERN] FILE";
constexpr const char* help =
    "usage: xmlcfg -g PATH FILE         print PATH=VALUE\n"
    "       xmlcfg -s PATH VALUE FILE   set a parameter, save the file, tell nvd\n"
    "       xmlcfg -l [PATTERN] FILE    list the parameters whose paths match a shell pattern\n"
    "FILE \"-\" is standard input, which -g and -l read.\n";

struct ConfigFile {
  std::unique_ptr<cfg_handle, decltype(&cfg_deinit)> handle{nullptr, cfg_deinit};
  cfg_node* root = nullptr;
};

constexpr int wrong_use = 2;

int Fail(const char* what, const char* why, int status = 1) {
  Program_Complain(what, why);
  return status;
}

bool Open(const std::string& path, ConfigFile& file) {
  file.handle.reset(cfg_init(path.c_str()));
  if (file.handle) file.root = cfg_find_param_node(file.handle.get(), "root");
  if (file.root == nullptr) {
    Program_Complain(path.c_str(), file.handle ? "no <root> at the top" : Libcfg_Fault());
  }
  return file.root != nullptr;
}

bool OpenToRead(const std::string& path, ConfigFile& file) {
  return Open(path == standard_input ? "/dev/stdin" : path, file);
}

// The line "PATH=VALUE"; empty when the node has no value.
std::string Line(cfg_node* node, const char* path) {
  std::array<char, 4096> value;
  if (node == nullptr || cfg_get_param_value(node, value.data(), value.size()) != 0) return {};
  return std::string(path) + "=" + value.data() + "\n";
}

int Get(char* const* operands) {
  const char* path = operands[0];
  ConfigFile file;
  if (!OpenToRead(operands[1], file)) return 1;
  const std::string line = Line(cfg_find_param_node(file.root, path), path);
  return line.empty() ? Fail("no such parameter", path) : Program_Print(line);
}

// Asked after the save: whoever had two names for one file then has two files.
bool IsDaemonsFile(const char* path) {
  struct stat status {};
  struct stat daemons {};
  return stat(path, &status) == 0 && stat(daemons_file, &daemons) == 0 &&
         status.st_dev == daemons.st_dev && status.st_ino == daemons.st_ino;
}

void Report(std::string_view message) {
  const int connection = Notify_Send(notify_socket, message);
  if (connection < 0 || Notify_WaitForEnd(connection, message.size()) != 0) {
    Program_Complain("saved, but unknown to nvd, whose next start puts back what the EEPROM holds",
                     Notify_Reason());
  } else if (message.size() > notify_longest_message) {
    const std::string lengths = "nvd takes " + std::to_string(notify_longest_message) +
                                " bytes of PATH=VALUE, not " + std::to_string(message.size());
    Program_Complain("saved, but too long to be kept", lengths.c_str());
  }
  if (connection >= 0) (void)close(connection);
}

int Set(char* const* operands) {
  const auto [path, value, name] = std::array{operands[0], operands[1], operands[2]};
  ConfigFile file;
  if (name == standard_input) {
    return Fail("can't save", "standard input can only be read", wrong_use);
  }
  if (!Open(name, file)) return 1;
  cfg_node* node = cfg_find_param_node(file.root, path);
  if (Line(node, path).empty()) return Fail("no such parameter", path);
  if (cfg_set_param_value(node, value) != 0)
    return Fail("no XML file can hold this value of", path);
  errno = 0;
  if (cfg_save_file(file.handle.get(), name) != 0) {
    const char* other_reason = "the file or the parameter has just become another";
    return Fail("can't save", errno != 0 ? std::strerror(errno) : other_reason);
  }
  if (IsDaemonsFile(name)) {
    std::string line = Line(node, path);  // a set value may be shorter than what was asked for
    line.pop_back();
    Report(line);
  }
  return 0;
}

int List(char* const* operands) {
  const char* pattern = operands[1] == nullptr ? "*" : operands[0];
  ConfigFile file;
  if (!OpenToRead(operands[operands[1] == nullptr ? 0 : 1], file)) return 1;
  std::string lines;
  for (cfg_node* node = cfg_walk_next(file.root, file.root, 1); node != nullptr;
       node = cfg_walk_next(node, file.root, 1)) {
    std::array<char, 1024> path;
    cfg_get_node_pathname(node, file.root, path.data(), path.size());
    // The first element of a name counts.
    if (fnmatch(pattern, path.data(), 0) == 0 &&
        cfg_find_param_node(file.root, path.data()) == node) {
      lines += Line(node, path.data());
    }
  }
  return lines.empty() ? Fail("no such parameter", pattern) : Program_Print(lines);
}

int Help(char* const*) { return Program_Print(help); }
int Version(char* const*) { return Program_Print("xmlcfg " NVD_VERSION "\n"); }

struct Command {
  int option;
  int least_operands, most_operands;
  int (*run)(char* const* operands);  // ended by a null pointer
};
constexpr std::array<Command, 5> commands = {{
    {'g', 2, 2, Get},
    {'s', 3, 3, Set},
    {'l', 1, 2, List},
    {'h', 0, 0, Help},
    {'v', 0, 0, Version},
}};
constexpr std::array<option, 3> long_options = {{
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'v'},
    {},
}};

}  // namespace

int main(int argc, char* argv[]) {
  // "+", and asked once: options end at the path, so that a value such as "-1" is not taken for
  // one.
  const int option = getopt_long(argc, argv, "+gsl", long_options.data(), nullptr);
  const int operands = argc - optind;
  for (const Command& command : commands) {
    if (command.option == option && operands >= command.least_operands &&
        operands <= command.most_operands) {
      return command.run(argv + optind);
    }
  }
  return option == '?' ? wrong_use : Fail("usage", usage, wrong_use);
}
