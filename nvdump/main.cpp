// SPDX-License-Identifier: MIT
// nvdump: looks into an EEPROM, checks it, compares it, builds one.
#include <getopt.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "nvdump/image.h"
#include "nvdump/options.h"
#include "nvdump/output.h"
#include "nvdump/text.h"

namespace {

struct Command {
  std::string_view name;
  std::string_view options;  // the letters of those that it has
  std::size_t least, most;   // operands
  int (*run)(const Options& options, std::string& out);
  const char* usage;
  const char* what;
  const char* example;
};

// clang-format off
constexpr std::array commands = {
    Command{"info", "DAj", 0, 1, Info, "[SOURCE]",
            "says whether the image is blank, filled or cut short, whose it is and how old",
            "nvdump info customer.bin"},
    Command{"list", "DAjsalS", 0, SIZE_MAX, List, "[SOURCE] [PATTERN...]",
            "lists the stored parameters, PATH=VALUE as a restore hands them over",
            "nvdump list customer.bin 'General.Network.*'"},
    Command{"get", "DAjsr", 1, SIZE_MAX, Get, "[--source SOURCE] PATH...",
            "prints the values of parameters, for scripts",
            "nvdump get --source customer.bin General.System.HTTPPort"},
    Command{"map", "DAjsSxmFN", 0, 1, Map, "[SOURCE]",
            "prints every byte once: sections, fields, gaps, what they mean",
            "nvdump map --hex --section ssnt customer.bin"},
    Command{"verify", "DAjsct", 0, 1, Verify, "[SOURCE]",
            "checks what the daemon relies on; with --config also what its next start would change",
            "nvdump verify customer.bin"},
    Command{"diff", "DAjs", 2, 2, Diff, "SOURCE SOURCE",
            "compares two images, parameters first",
            "nvdump diff before.bin after.bin"},
    Command{"build", "ofTzRs", 1, 1, Build, "-o IMAGE CONFIG",
            "writes the image that the daemon would write for a configuration",
            "nvdump build -o factory.bin --size 32768 device.conf"},
    Command{"extract", "DAsofct", 0, 1, Extract, "--config BASE [-o FILE] [SOURCE]",
            "puts an image's values into a configuration, or says what they would change",
            "nvdump extract --config device.conf -o restored.conf customer.bin"},
    Command{"dump", "DAof", 0, 1, Dump, "-o FILE [SOURCE]",
            "copies the chip's bytes into a file",
            "nvdump dump -o board.bin"},
};

// An option sets one member: a switch, a text or a number.
struct OptionRow {
  char letter;
  const char* name;
  const char* argument;
  const char* what;
  bool Options::*flag = nullptr;
  std::string Options::*text = nullptr;
  std::size_t Options::*number = nullptr;
  std::size_t most = SIZE_MAX;
};

constexpr std::array option_rows = {
    OptionRow{'a', "all", "", "parameters that the image holds no value for as well", &Options::all},
    OptionRow{'A', "anyway", "", "read the chip although a daemon has its driver", &Options::anyway},
    OptionRow{'c', "config", "FILE", "the configuration to compare with or to start from", nullptr, &Options::config},
    OptionRow{'N', "count", "BYTES", "only what touches so many bytes", nullptr, nullptr, &Options::count},
    OptionRow{'D', "device", "PATH", "the chip's device (default: /dev/i2c-1)", nullptr, &Options::device},
    OptionRow{'f', "force", "", "replace a file that is there", &Options::force},
    OptionRow{'F', "from", "ADDRESS", "only what lies from this address on", nullptr, nullptr, &Options::from},
    OptionRow{'x', "hex", "", "the bytes as well", &Options::hex},
    OptionRow{'j', "json", "", "one JSON object instead of text", &Options::json},
    OptionRow{'l', "long", "", "section, key, address and bytes as well", &Options::is_long},
    OptionRow{'m', "markdown", "", "the reference page of all parameters; needs no source", &Options::markdown},
    OptionRow{'o', "output", "FILE", "where to write; -o as well", nullptr, &Options::output},
    OptionRow{'s', "secrets", "", "passwords as they are, not as ********", &Options::secrets},
    OptionRow{'S', "section", "NAME", "only this section: id, ssdt and so on; stpf is all four stream profiles", nullptr, &Options::section},
    OptionRow{'z', "size", "BYTES", "the chip's size; filled up with FF", nullptr, nullptr, &Options::size, 0x80000},
    OptionRow{'r', "source", "SOURCE", "where to get the values from", nullptr, &Options::source},
    OptionRow{'R', "strict", "", "refuse what will not come back as it is", &Options::strict},
    OptionRow{'t', "templates", "DIR", "of the list instances (default: /opt/template)", nullptr, &Options::templates},
    OptionRow{'T', "time", "SECONDS", "since 1970 (default: SOURCE_DATE_EPOCH, or now)", nullptr, nullptr, &Options::time, UINT32_MAX},
};
// clang-format on

constexpr const char* intro =
    "usage: nvdump COMMAND [OPTION...] [OPERAND...]\n\n"
    "Looks into an nvd EEPROM, checks it, compares it, builds one. Never writes to a source.\n\n"
    "A SOURCE is a file with the chip's bytes (\"-\": standard input), a configuration file (the "
    "image\n"
    "is built from it first), or, when none is named, the chip.\n\n";
constexpr const char* outro =
    "  --help, -h           this text; after a command, that command's\n"
    "  --version            the version\n\n"
    "Exit status: 0 fine, equal, found; 1 differences, findings, not stored; 2 wrong usage, a "
    "source\n"
    "that can't be read, an output that was not written.\n";

bool Has(const Command& command, int letter) {
  return command.options.find(static_cast<char>(letter)) != std::string_view::npos;
}

std::string OptionLine(const OptionRow& row) {
  const std::string name = std::string("--") + row.name + " " + row.argument;
  return Format("  %-20s %s\n", name.c_str(), row.what);
}

std::string CommandHelp(const Command& command) {
  std::string text = "usage: nvdump " + std::string(command.name) + " [OPTION...] " +
                     command.usage + "\n\n" + command.what + "\n\n";
  for (const OptionRow& row : option_rows) {
    if (Has(command, row.letter)) text += OptionLine(row);
  }
  return text + "\nexample: " + command.example + "\n";
}

std::string GeneralHelp() {
  std::string text = intro;
  for (const Command& command : commands) {
    text += std::string(command.name) + " " + command.usage + "\n    " + command.what + "\n    " +
            command.example + "\n";
  }
  text += "\n";
  for (const OptionRow& row : option_rows) text += OptionLine(row);
  return text + outro;
}

struct WrongUsage : Failure {
  using Failure::Failure;
};

std::size_t NumberOf(const OptionRow& row, std::string_view text) {
  std::size_t number = 0;
  const bool is_hex = text.starts_with("0x");
  const std::string_view digits = text.substr(is_hex ? 2 : 0);
  const char* end = digits.data() + digits.size();
  const auto [behind, error] = std::from_chars(digits.data(), end, number, is_hex ? 16 : 10);
  if (error == std::errc() && behind == end && number <= row.most) return number;
  const std::string which = "--" + std::string(row.name) + " " + std::string(text);
  if (error == std::errc() && behind == end) {
    throw WrongUsage(which + Format(": at most %zu", row.most));
  }
  throw WrongUsage(which + ": no such number");
}

void Set(Options& options, const OptionRow& row, const char* value) {
  if (row.flag != nullptr) options.*row.flag = true;
  if (row.text != nullptr) options.*row.text = value;
  if (row.number != nullptr) options.*row.number = NumberOf(row, value);
}

constexpr int help_letter = 'h';
constexpr int version_letter = 'v';

std::vector<option> GetoptTable() {
  std::vector<option> table = {{"help", no_argument, nullptr, help_letter},
                               {"version", no_argument, nullptr, version_letter}};
  for (const OptionRow& row : option_rows) {
    const bool has_value = row.flag == nullptr;
    table.push_back({row.name, has_value ? required_argument : no_argument, nullptr, row.letter});
  }
  table.push_back({});
  return table;
}

// What the command line asks for; no command: to be helped, or to be told the version.
struct Request {
  const Command* command = nullptr;
  Options options;
  bool wants_help = false;
  bool wants_version = false;
};

const Command* FindCommand(std::string_view name) {
  const auto* command = std::ranges::find(commands, name, &Command::name);
  if (command != commands.end()) return command;
  throw WrongUsage("unknown command '" + std::string(name) + "'");
}

void CheckSection(const Options& options, std::string_view letters) {
  if (letters.find('S') == std::string_view::npos) return;
  for (std::size_t position = 0; position < chain_sections; ++position) {
    const bool is_it = IsSection(SectionName_At(position), options.section);
    if (is_it && !options.section.empty()) return;
  }
  throw WrongUsage("--section " + options.section + ": no such section");
}

void CheckUsage(const Request& request, std::string_view letters) {
  const Command& command = *request.command;
  const std::size_t count = request.options.operands.size();
  if (count < command.least || count > command.most) {
    throw WrongUsage("usage: nvdump " + std::string(command.name) + " " + command.usage);
  }
  CheckSection(request.options, letters);
  for (const OptionRow& row : option_rows) {
    if (letters.find(row.letter) == std::string_view::npos || Has(command, row.letter)) continue;
    throw WrongUsage(std::string(command.name) + " has no option --" + row.name);
  }
}

WrongUsage WrongOption(char* argv[], int answer) {
  const std::string text = argv[optind - 1];
  const bool is_letter = answer == '?' && optopt != 0 && !text.starts_with("--");
  return WrongUsage((is_letter ? std::string{'-', static_cast<char>(optopt)} : text) +
                    (answer == ':' ? " needs a value" : ": no such option; see nvdump --help"));
}

Request Parse(int argc, char* argv[]) {
  Request request;
  std::string letters;
  const std::vector<option> table = GetoptTable();
  opterr = 0;
  for (int letter = 0; (letter = getopt_long(argc, argv, ":ho:", table.data(), nullptr)) != -1;) {
    if (letter == '?' || letter == ':') throw WrongOption(argv, letter);
    if (letter == help_letter) request.wants_help = true;
    if (letter == version_letter) request.wants_version = true;
    const auto* row = std::ranges::find(option_rows, letter, &OptionRow::letter);
    if (row == option_rows.end()) continue;
    Set(request.options, *row, optarg);
    letters += row->letter;
  }
  if (optind < argc) request.command = FindCommand(argv[optind++]);
  request.options.operands.assign(argv + optind, argv + argc);
  if (request.wants_help || request.wants_version) return request;
  if (request.command == nullptr) throw WrongUsage("no command; see nvdump --help");
  request.options.command = request.command->name.data();
  CheckUsage(request, letters);
  return request;
}

int Run(const Request& request, std::string& out) {
  if (request.wants_version) {
    out = "nvdump " NVD_VERSION "\n";
    return exit_fine;
  }
  if (request.wants_help) {
    out = request.command == nullptr ? GeneralHelp() : CommandHelp(*request.command);
    return exit_fine;
  }
  return request.command->run(request.options, out);
}

}  // namespace

int main(int argc, char* argv[]) {
  // A reader that has seen enough ends the program without a word, whatever it was started with.
  (void)std::signal(SIGPIPE, SIG_DFL);
  std::string out;
  int status = exit_fails;
  try {
    status = Run(Parse(argc, argv), out);
  } catch (const std::exception& failure) {
    Say(Escaped(failure.what()));
    return exit_fails;
  }
  if (std::fwrite(out.data(), 1, out.size(), stdout) == out.size() && std::fflush(stdout) == 0) {
    return status;
  }
  Say(std::string("standard output: ") + std::strerror(errno));
  return exit_fails;
}
