// SPDX-License-Identifier: MIT
// What is written to files: build, extract, dump.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "config/store.h"
#include "nvdump/source.h"
#include "nvdump/start.h"
#include "nvdump/text.h"
#include "platform/file.h"
#include "platform/host.h"

namespace {

bool IsSameFile(const struct stat& output, const std::string& input) {
  struct stat status {};
  return stat(input == "-" ? "/dev/stdin" : input.c_str(), &status) == 0 &&
         status.st_dev == output.st_dev && status.st_ino == output.st_ino;
}

// Refuses an output that would destroy something, what is read from first of all.
void CheckOutput(const Options& options, const std::vector<std::string>& inputs, bool is_text) {
  const std::string& name = options.output;
  if (name.empty()) throw Failure("where to? -o FILE");
  struct stat status {};
  const bool is_standard_output = name == "-";
  if (is_standard_output && !is_text && isatty(STDOUT_FILENO) != 0) {
    throw Failure("-o -: a terminal is no place for an image");
  }
  if (is_standard_output || stat(name.c_str(), &status) != 0) return;
  if (!S_ISREG(status.st_mode)) throw Failure(name + " is no regular file");
  for (const std::string& input : inputs) {
    if (IsSameFile(status, input)) throw Failure(name + " is what is read from");
  }
  if (!options.force) throw Failure(name + " exists; --force replaces it");
}

// A new file holds passwords, so it is its owner's only; one that is there keeps its mode.
void Write(const Options& options, std::string content, std::string& out) {
  const char* path = options.output.c_str();
  if (options.output == "-") {
    out = std::move(content);
    return;
  }
  const int fd = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (fd >= 0) (void)close(fd);
  const bool may_replace = fd >= 0 || (options.force && errno == EEXIST);
  if (may_replace && File_Replace(path, content) == 0) return;
  const int error = errno;
  if (fd >= 0) (void)unlink(path);
  throw Failure(options.output + ": write: " + std::strerror(error));
}

// The time that the image tells; a build that is to be the same again names it.
std::uint32_t BuildTime(const Options& options) {
  if (options.time != SIZE_MAX) return static_cast<std::uint32_t>(options.time);
  const char* epoch = std::getenv("SOURCE_DATE_EPOCH");
  if (epoch == nullptr || *epoch == '\0') return Host_Time();
  std::uint32_t seconds = 0;
  const auto [end, error] = std::from_chars(epoch, epoch + std::strlen(epoch), seconds);
  if (error == std::errc() && *end == '\0') return seconds;
  throw Failure("SOURCE_DATE_EPOCH is no number of seconds");
}

// Names what the configuration lacks, and what a restore from the image would not bring back. What
// does not come back beside another value is no loss. Returns whether there is any.
bool SayLosses(const Options& options, const Image& image) {
  std::size_t losses = 0;
  const Json values = Config_Values();
  for (const Json& row : Parameter_Rows(image)) {
    const std::string path = Nv_FormatPath(row["path"].get<std::string>(), NsIndex).data();
    // A camera without network storage has none of its parameters.
    if (values.contains(path) || (path != row["path"] && NsIndex < 0)) continue;
    Say(path + ": not in the configuration");
    ++losses;
  }
  const Json rows = Start_Restore(image, options.templates);
  for (const Json& row : rows) {
    Say(Change_Text(Row_Shown(row)));
    if (!row.contains("beside")) ++losses;
  }
  if (losses == 0 && rows.empty()) Say("every value comes back as it is");
  return losses > 0;
}

}  // namespace

int Build(const Options& options, std::string& out) {
  const std::string& name = options.operands[0];
  CheckOutput(options, {name}, false);
  const WorkingCopy config(name, Source_Read(name));
  if (product_number[0] == '\0') {
    throw Failure(name + ": no product number (General.Brand.ProdNbr)");
  }
  Image image = Start_Fill(BuildTime(options));
  Image_Parse(image, options.secrets);
  if (SayLosses(options, image) && options.strict) throw Failure("not built: --strict");
  if (options.size > 0 && options.size < image.bytes.size()) {
    throw Failure(Format("the image has %zu bytes", image.bytes.size()));
  }
  image.bytes.resize(std::max(options.size, image.bytes.size()), 0xFF);
  Write(options, {image.bytes.begin(), image.bytes.end()}, out);
  return exit_fine;
}

int Extract(const Options& options, std::string& out) {
  const std::string& name = options.operands[0];
  if (options.config.empty()) throw Failure("into which configuration? --config BASE");
  if (!options.output.empty()) CheckOutput(options, {options.config, name, options.device}, true);
  const Image image = Source_Open(options, name);
  const WorkingCopy copy(options.config, Source_Read(options.config));
  if (image.state != ImageState::filled) {
    Say(image.name + ": " + State_Name(image.state) + ": a start takes nothing from it");
    return exit_finds;
  }
  const bool is_damaged = Image_SayWhatIsMissing(image);
  if (Start_IsForeign()) {
    Say(options.config + " is taken as just reset: the image is of another product");
  }
  bool changes = false;
  std::string lines;
  for (const Json& row : Start_Restore(image, options.templates)) {
    if (row["new"].is_null()) continue;
    lines += Change_Text(Row_Shown(row)) + "\n";
    changes = changes || !row.contains("why");
  }
  if (!changes) Say("nothing would change");
  if (options.output.empty()) {
    out = lines;
    return is_damaged || !lines.empty() ? exit_finds : exit_fine;
  }
  Write(options, Source_Read(copy.path), out);
  return is_damaged ? exit_finds : exit_fine;
}

int Dump(const Options& options, std::string& out) {
  CheckOutput(options, {options.operands[0], options.device}, false);
  const Image image = Source_Open(options, options.operands[0]);
  Write(options, {image.bytes.begin(), image.bytes.end()}, out);
  if (image.state == ImageState::filled) Say(options.output + " holds the passwords as they are");
  return exit_fine;
}
