// SPDX-License-Identifier: MIT
#include "nvdump/source.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "nvdump/start.h"
#include "nvdump/text.h"
#include "platform/file.h"
#include "platform/host.h"

namespace {

constexpr std::size_t largest_image = 0x10000;  // its addresses have 16 bits
constexpr std::size_t largest_configuration = 0x100000;

bool IsCharacterDevice(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISCHR(status.st_mode);
}

// The type of an image's first section does not begin with a "<".
bool IsConfiguration(std::string_view content) {
  const std::size_t first = content.find_first_not_of("\xEF\xBB\xBF \t\r\n");
  return first != std::string_view::npos && content[first] == '<';
}

void OpenFile(Image& image) {
  const std::string content = Source_Read(image.name);
  if (IsConfiguration(content)) {
    const WorkingCopy config(image.name, content);
    const std::string name = image.name;
    image = Start_Fill(Host_Time());
    image.name = name;
    return;
  }
  image.adapter = image.name == "-" ? "standard input" : "file";
  image.bytes.assign(content.begin(), content.end());
  if (image.bytes.size() <= largest_image) return;
  Say(image.name + Format(": only the first %zu bytes are read", largest_image));
  image.bytes.resize(largest_image);
}

}  // namespace

Image Source_Open(const Options& options, const std::string& operand) {
  Image image;
  image.name = operand.empty() ? options.device : operand;
  if (image.name.empty()) throw Failure("no source: name a file, or --device PATH for a chip");
  if (operand.empty() || IsCharacterDevice(operand)) {
    Chip_Read(options.anyway, image);
  } else {
    OpenFile(image);
  }
  Image_Parse(image, options.secrets);
  return image;
}

bool Source_IsName(const std::string& operand) {
  return operand == "-" || operand.find('/') != std::string::npos || File_Exists(operand.c_str());
}

int Source_ForEach(const Options& options, Look look, std::string& out) {
  int status = exit_fine;
  for (const std::string& name : options.operands) {
    try {
      const Image image = Source_Open(options, name);
      if (options.operands.size() > 1 && !options.json) out += Escaped(name) + ":\n";
      status = std::max(status, look(options, image, out));
    } catch (const Failure& failure) {
      Say(failure.what());
      status = exit_fails;
    }
  }
  return status;
}

std::string Source_Read(const std::string& name) {
  static bool input_is_read = false;
  if (name == "-" && input_is_read) throw Failure("-: standard input can be read once only");
  input_is_read = input_is_read || name == "-";
  std::FILE* const file = name == "-" ? stdin : std::fopen(name.c_str(), "re");
  if (file == nullptr) throw Failure(name + ": " + std::strerror(errno));
  std::string content(largest_configuration + 1, '\0');
  std::size_t size = std::fread(content.data(), 1, largest_image + 1, file);
  const bool goes_on = IsConfiguration(content) && size > largest_image;
  if (goes_on) size += std::fread(&content[size], 1, content.size() - size, file);
  content.resize(size);
  const int error = std::ferror(file) != 0 ? errno : 0;
  if (file != stdin) (void)std::fclose(file);
  if (error != 0) throw Failure(name + ": read: " + std::strerror(error));
  if (content.size() > largest_configuration) throw Failure(name + ": longer than 1 MiB");
  return content;
}
