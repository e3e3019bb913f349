// SPDX-License-Identifier: MIT
// nvdump: looks into an EEPROM, checks it, compares it, builds one.
#include <getopt.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <variant>

#include "nvdump/image.h"
#include "nvdump/options.h"
#include "nvdump/text.h"
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

struct Command {
  std::string_view name;
  std::string_view options;  // the letters of those that it has
  std::size_t least, most;   // operands
  int (*run)(const Options& options, std::string& out);
};
constexpr std::array<Command, 9> commands = {{
    {"info", "DAj", 0, SIZE_MAX, Info},
    {"list", "DAjsalS", 0, SIZE_MAX, List},
    {"get", "DAjsr", 1, SIZE_MAX, Get},
    {"map", "DAjsSxFN", 0, 1, Map},
    {"verify", "DAjsct", 0, SIZE_MAX, Verify},
    {"diff", "DAjs", 2, 2, Diff},
    {"build", "ofTzRst", 1, 1, Build},
    {"extract", "DAsofct", 0, 1, Extract},
    {"dump", "DAof", 0, 1, Dump},
}};

struct OptionRow {
  char letter;
  const char* name;
  std::variant<bool Options::*, std::string Options::*, std::size_t Options::*> member;
  std::size_t most = SIZE_MAX;
};
constexpr std::array<OptionRow, 18> option_rows = {{
    {'a', "all", &Options::all},
    {'A', "anyway", &Options::anyway},
    {'c', "config", &Options::config},
    {'N', "count", &Options::count},
    {'D', "device", &Options::device},
    {'f', "force", &Options::force},
    {'F', "from", &Options::from},
    {'x', "hex", &Options::hex},
    {'j', "json", &Options::json},
    {'l', "long", &Options::is_long},
    {'o', "output", &Options::output},
    {'s', "secrets", &Options::secrets},
    {'S', "section", &Options::section},
    {'z', "size", &Options::size, 0x80000},
    {'r', "source", &Options::source},
    {'R', "strict", &Options::strict},
    {'t', "templates", &Options::templates},
    {'T', "time", &Options::time, UINT32_MAX},
}};

struct WrongUsage : Failure {
  explicit WrongUsage(const std::string& what) : Failure(what + "; see nvdump --help") {}
};

std::size_t NumberOf(std::string_view text, std::size_t most) {
  std::size_t number = 0;
  const bool is_hex = text.starts_with("0x");
  const std::string_view digits = text.substr(is_hex ? 2 : 0);
  const char* end = digits.data() + digits.size();
  const auto [behind, error] = std::from_chars(digits.data(), end, number, is_hex ? 16 : 10);
  if (error == std::errc() && behind == end && number <= most) return number;
  throw WrongUsage(std::string(text) + " is no number, or too large");
}

void Set(Options& options, const OptionRow& row, const char* value) {
  const auto* const flag = std::get_if<bool Options::*>(&row.member);
  const auto* const text = std::get_if<std::string Options::*>(&row.member);
  const auto* const number = std::get_if<std::size_t Options::*>(&row.member);
  if (flag != nullptr) options.*(*flag) = true;
  if (flag == nullptr && *value == '\0')
    throw WrongUsage("an empty word for --" + std::string(row.name));
  if (text != nullptr) options.*(*text) = value;
  if (number != nullptr) options.*(*number) = NumberOf(value, row.most);
}

void CheckSection(const std::string& section) {
  for (std::size_t position = 0; position < chain_sections; ++position) {
    if (IsSection(Section_Name(position), section)) return;
  }
  throw WrongUsage("--section " + section + ": no such section");
}

// The command line's options, those of a command behind its name.
std::vector<option> OptionsOf(const Command* command) {
  std::vector<option> table = {{"help", no_argument, nullptr, 'h'},
                               {"version", no_argument, nullptr, 'v'}};
  for (const OptionRow& row : option_rows) {
    if (command == commands.end() || command->options.find(row.letter) == std::string_view::npos)
      continue;
    const bool is_flag = std::holds_alternative<bool Options::*>(row.member);
    table.push_back({row.name, is_flag ? no_argument : required_argument, nullptr, row.letter});
  }
  table.push_back({});
  return table;
}

int Run(int argc, char* argv[], std::string& out) {
  Options options;
  options.command = argc > 1 ? argv[1] : "";
  const auto* const command = std::ranges::find(commands, options.command, &Command::name);
  const bool is_known = command != commands.end();
  const std::vector<option> table = OptionsOf(command);
  const char* const short_options =
      is_known && command->options.find('o') != std::string_view::npos ? ":ho:" : ":h";
  optind = is_known ? 2 : 1;
  opterr = 0;
  for (int letter = 0;
       (letter = getopt_long(argc, argv, short_options, table.data(), nullptr)) != -1;) {
    if (letter == 'h' || letter == 'v') {
      out = letter == 'h' ? help : "nvdump " NVD_VERSION "\n";
      return exit_fine;
    }
    const auto* const row = std::ranges::find(option_rows, letter, &OptionRow::letter);
    if (row == option_rows.end()) {
      const char* const why = letter == ':' ? " needs a value" : ": no such option";
      throw WrongUsage(options.command + " " + argv[optind - 1] + why);
    }
    Set(options, *row, optarg);
  }
  if (!is_known) throw WrongUsage("unknown command '" + options.command + "'");
  options.operands.assign(argv + optind, argv + argc);
  const std::size_t count = options.operands.size();
  if (count < command->least || count > command->most) {
    throw WrongUsage(options.command + ": not so many operands");
  }
  if (std::ranges::count(options.operands, "") > 0) throw WrongUsage("an operand is empty");
  CheckSection(options.section);
  if (count == 0) options.operands.emplace_back();
  // Elsewhere it is a bus with who knows what at that address.
  if (options.device.empty() && File_Exists("/opt/template")) options.device = "/dev/i2c-1";
  return command->run(options, out);
}

}  // namespace

int main(int argc, char* argv[]) {
  // A reader that has seen enough ends the program without a word, whatever it was started with.
  (void)std::signal(SIGPIPE, SIG_DFL);
  std::string out;
  try {
    const int status = Run(argc, argv, out);
    const bool is_written = std::fwrite(out.data(), 1, out.size(), stdout) == out.size();
    if (is_written && std::fflush(stdout) == 0) return status;
    throw Failure(std::string("standard output: ") + std::strerror(errno));
  } catch (const std::exception& failure) {
    Say(failure.what());
    return exit_fails;
  }
}
