// SPDX-License-Identifier: MIT
// nvdump: looks into an EEPROM, checks it, compares it, builds one.
#include <getopt.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "nvdump/nvdump.h"
#include "platform/file.h"

namespace {

constexpr const char* help = R"(usage: nvdump COMMAND [OPTION...] [OPERAND...]
Looks into an nvd EEPROM, checks it, compares it, builds one. Never writes to a source.

  info [SOURCE...]                blank, filled or cut short, whose it is and how old
  list [SOURCE] [PATTERN...]      the stored parameters, as a restore hands them over
  get [--source SOURCE] PATH...   their values alone, for scripts
  map [SOURCE]                    every byte once: sections, fields, what they mean
  verify [SOURCE...]              what the daemon relies on and can't notice by itself
  diff SOURCE SOURCE              two images, parameters first
  build -o IMAGE CONFIG           the image that the daemon would write
  extract --config BASE [-o FILE] [SOURCE]   BASE with an image's values, or what would change
  dump -o FILE [SOURCE]           a copy of the chip's bytes

A SOURCE is a file with the chip's bytes ("-": standard input), a configuration file (the image
is built from it first) or a device; on a camera, when none is named, the chip.

  --all                parameters that the image holds no value for as well
  --anyway             read the chip although a daemon has its driver
  --config FILE        the configuration to compare with or to start from
  --count BYTES        only what touches so many bytes
  --device PATH        the chip's device (on a camera: /dev/i2c-1)
  --force              replace a file that is there
  --from ADDRESS       only what lies from this address on
  --hex                the bytes as well
  --json               JSON instead of text
  --long               section, keys, addresses and bytes as well
  --output FILE        where to write, "-" for standard output; -o as well
  --secrets            passwords as they are, not as ********
  --section NAME       only this section: id, ssdt and so on; stpf is all four profiles
  --size BYTES         the chip's size; filled up with FF
  --source SOURCE      where to get the values from
  --strict             refuse what will not come back as it is
  --templates DIR      of the list instances (default: /opt/template)
  --time SECONDS       since 1970 (default: SOURCE_DATE_EPOCH, or now)
  --help, -h           this text
  --version            the version

Exit status: 0 fine, equal, found; 1 differences, findings, not stored, not readable; 2 wrong
usage, a source that can't be read, an output that was not written.
)";

struct CommandRow {
  std::string_view name;
  std::string_view options;  // those that it has
  std::size_t least, most;   // operands
  Command* run;
  bool takes_each = false;  // of its operands as one of its own
};
constexpr std::array<CommandRow, 9> commands = {{
    {"info", "anyway device json", 0, SIZE_MAX, Info, true},
    {"list", "all anyway device json long secrets section", 0, SIZE_MAX, List},
    {"get", "anyway device json secrets source", 1, SIZE_MAX, Get},
    {"map", "anyway count device from hex json secrets section", 0, 1, Map},
    {"verify", "anyway config device json secrets templates", 0, SIZE_MAX, Verify, true},
    {"diff", "anyway device json secrets", 2, 2, Diff},
    {"build", "force output secrets size strict templates time", 1, 1, Build},
    {"extract", "anyway config device force output secrets templates", 0, 1, Extract},
    {"dump", "anyway device force output", 0, 1, Dump},
}};

constexpr const char* see_help = "; see nvdump --help";

// Reads the options behind the command, of those that it has. Returns whether only the help or the
// version is wanted, which is then in `out`.
bool ReadOptions(int argc, char* argv[], std::string_view own, Options& options, std::string& out) {
  std::vector<option> table = {{"help", no_argument, nullptr, 'h'},
                               {"version", no_argument, nullptr, 'v'}};
  const auto add = [&table, own](const std::string& name, int argument) {
    if (own.find(name) != own.npos) table.push_back({name.c_str(), argument, nullptr, 0});
  };
  for (const auto& [name, value] : options.flags) add(name, no_argument);
  for (const auto& [name, value] : options.words) add(name, required_argument);
  table.push_back({});
  const char* const letters = own.find("output") == own.npos ? ":h" : ":ho:";
  opterr = 0;
  for (int letter = 0, index = 0;
       (letter = getopt_long(argc, argv, letters, table.data(), &index)) != -1;) {
    if (letter == 'h' || letter == 'v') {
      out = letter == 'h' ? help : "nvdump " NVD_VERSION "\n";
      return true;
    }
    const std::string word = options.command + " " + argv[optind - 1];
    if (letter == '?') throw Failure(Format("%s: no such option%s", word.c_str(), see_help));
    const std::string name = letter == 'o' ? "output" : table.data()[index].name;
    if (letter == ':') throw Failure(Format("%s needs a value%s", word.c_str(), see_help));
    const bool is_empty = optarg != nullptr && *optarg == '\0';
    if (is_empty) throw Failure(Format("an empty word for --%s%s", name.c_str(), see_help));
    if (optarg == nullptr) options.flags[name] = true;
    if (optarg != nullptr) options.words[name] = optarg;
  }
  return false;
}

// Looks at each operand, and goes on behind one that can't be read. Returns the worst status.
int RunOnEach(const CommandRow& command, Options options, std::string& out) {
  int status = exit_fine;
  for (const std::vector<std::string> operands = options.operands;
       const std::string& name : operands) {
    try {
      std::string own;
      options.operands = {name};
      status = std::max(status, command.run(options, own));
      const bool has_title = operands.size() > 1 && !options.flags.at("json");
      out += (has_title ? Escaped(name) + ":\n" : "") + own;
    } catch (const std::exception& failure) {
      Say(failure.what());
      status = exit_fails;
    }
  }
  return status;
}

int Run(int argc, char* argv[], std::string& out) {
  Options options;
  // A build that is to be the same again names its time.
  if (const char* const epoch = std::getenv("SOURCE_DATE_EPOCH")) options.words["time"] = epoch;
  options.command = argc > 1 ? argv[1] : "";
  const auto* const command = std::ranges::find(commands, options.command, &CommandRow::name);
  const bool is_known = command != commands.end();
  optind = is_known ? 2 : 1;
  if (ReadOptions(argc, argv, is_known ? command->options : "", options, out)) return exit_fine;
  if (!is_known) throw Failure("unknown command '" + options.command + "'" + see_help);
  options.operands.assign(argv + optind, argv + argc);
  const std::size_t count = options.operands.size();
  if (count < command->least || count > command->most) {
    throw Failure(options.command + ": wrong number of operands" + see_help);
  }
  if (std::ranges::count(options.operands, "") > 0)
    throw Failure(std::string("an operand is empty") + see_help);
  if (count == 0) options.operands.emplace_back();
  // Elsewhere it is a bus with who knows what at that address.
  std::string& device = options.words["device"];
  if (device.empty() && File_Exists("/opt/template")) device = "/dev/i2c-1";
  return command->takes_each ? RunOnEach(*command, options, out) : command->run(options, out);
}

}  // namespace

int main(int argc, char* argv[]) {
  // A reader that has seen enough ends the program without a word, but not before it has cleaned
  // up.
  (void)std::signal(SIGPIPE, SIG_IGN);
  std::string out;
  try {
    const int status = Run(argc, argv, out);
    const bool is_written = std::fwrite(out.data(), 1, out.size(), stdout) == out.size();
    if (is_written && std::fflush(stdout) == 0) return status;
    if (errno == EPIPE) return 128 + SIGPIPE;
    throw Failure(std::string("standard output: ") + std::strerror(errno));
  } catch (const std::exception& failure) {
    Say(failure.what());
    return exit_fails;
  }
}
