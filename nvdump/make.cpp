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
#include <map>

#include "nvdump/apply.h"
#include "nvdump/options.h"
#include "nvdump/output.h"
#include "nvdump/source.h"
#include "nvdump/text.h"
#include "platform/file.h"
#include "platform/host.h"

namespace {

void CheckOutput(const Options& options) {
  if (options.output.empty()) throw Failure("where to? -o FILE");
  struct stat status {};
  if (stat(options.output.c_str(), &status) != 0) return;
  if (!S_ISREG(status.st_mode)) throw Failure(options.output + " is no regular file");
  if (!options.force) throw Failure(options.output + " exists; --force replaces it");
}

// A new file holds passwords, so it is its owner's only; one that is there keeps its mode.
void Write(const Options& options, const std::string& content) {
  const char* path = options.output.c_str();
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

// What the image makes of the configuration's parameters, where it is something else.
std::vector<std::string> LossesOf(const Image& image, const Options& options) {
  std::map<std::string, std::string> values;
  for (const auto& [path, value] : Config_Parameters()) values.emplace(path, value);
  std::vector<std::string> losses;
  for (const auto& [table_path, stored, source, is_secret] : Image_Parameters(image)) {
    const std::string path = Nv_FormatPath(table_path, NsIndex).data();
    if (path != table_path && NsIndex < 0) continue;  // a camera without network storage
    const auto value = values.find(path);
    const bool is_shown = options.secrets || !is_secret;
    if (value == values.end()) {
      losses.push_back(path + ": not in the configuration");
    } else if (!value->second.empty() && value->second != stored) {
      const std::string before = Quoted(value->second, is_shown);
      const std::string after = stored.empty() ? "" : " as " + Quoted(stored, is_shown);
      losses.push_back(Format("%s: %s %s%s", path.c_str(), before.c_str(),
                              stored.empty() ? "does not come back" : "comes back", after.c_str()));
    }
  }
  return losses;
}

std::string ChangeText(const ParameterChange& change, bool shows_secrets) {
  const auto& [path, before, after, remark] = change;
  if (!shows_secrets && IsSecretPath(path)) return path + "=changed\n";
  std::string text = Painted(Colour::cyan, path) + "=";
  text += before ? Painted(Colour::red, Escaped(*before)) : "(none)";
  text += " -> " + Painted(Colour::green, Escaped(after));
  return text + (remark != nullptr ? std::string(" (") + remark + ")" : "") + "\n";
}

}  // namespace

int Build(const Options& options, std::string& /*out*/) {
  CheckOutput(options);
  const std::string& name = options.operands[0];
  const WorkingCopy config(name, Source_Read(name));
  if (product_number[0] == '\0') {
    throw Failure(name + ": no product number (General.Brand.ProdNbr)");
  }
  Image image = Source_Build(BuildTime(options));
  Image_Parse(image);
  const std::vector<std::string> losses = LossesOf(image, options);
  for (const std::string& loss : losses) Say(Escaped(loss));
  if (options.strict && !losses.empty()) throw Failure("not built: --strict");
  if (options.size > 0 && options.size < image.bytes.size()) {
    throw Failure(Format("the image has %zu bytes", image.bytes.size()));
  }
  image.bytes.resize(std::max(options.size, image.bytes.size()), 0xFF);
  Write(options, {image.bytes.begin(), image.bytes.end()});
  return exit_fine;
}

int Extract(const Options& options, std::string& out) {
  if (options.config.empty()) throw Failure("into which configuration? --config BASE");
  if (!options.output.empty()) CheckOutput(options);
  const Image image = Source_Open(options, options.operands);
  const WorkingCopy copy(options.config, Source_Read(options.config));
  if (image.state != ImageState::filled) {
    Say(image.name + ": " + State_Name(image.state) + ": a start takes nothing from it");
    return exit_finds;
  }
  if (Image_IsForeign(image)) {
    Say(options.config + " is taken as just reset: the image is of another product");
  }
  if (options.output.empty()) {
    const std::vector<ParameterChange> changes = Apply(image, options.templates);
    for (const ParameterChange& change : changes) out += ChangeText(change, options.secrets);
    return changes.empty() ? exit_fine : exit_finds;
  }
  (void)Apply(image, options.templates);
  Write(options, Source_Read(copy.path));
  return exit_fine;
}

int Dump(const Options& options, std::string& /*out*/) {
  CheckOutput(options);
  const Image image = Source_Open(options, options.operands);
  Write(options, {image.bytes.begin(), image.bytes.end()});
  if (image.state == ImageState::filled) Say(options.output + " holds the passwords as they are");
  return exit_fine;
}
