// SPDX-License-Identifier: MIT
#include "nvdump/source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "config/store.h"
#include "eeprom/backup.h"
#include "eeprom/i2c_eeprom.h"
#include "nvdump/chip.h"
#include "platform/file.h"
#include "platform/host.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

bool IsCharacterDevice(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISCHR(status.st_mode);
}

void ReadStandardInput(std::string& content) {
  static bool is_read = false;
  if (is_read) throw Failure("-: standard input can be read once only");
  is_read = true;
  std::array<char, 16384> block;
  while (const std::size_t length = std::fread(block.data(), 1, block.size(), stdin)) {
    content.append(block.data(), length);
  }
  if (std::ferror(stdin) != 0) throw Failure(std::string("-: read: ") + std::strerror(errno));
}

// The type of an image's first section does not begin with a "<".
bool IsConfiguration(std::string_view content) {
  const std::size_t first = content.find_first_not_of("\xEF\xBB\xBF \t\r\n");
  return first != std::string_view::npos && content[first] == '<';
}

Image OpenFile(const std::string& name) {
  const std::string content = Source_Read(name);
  if (IsConfiguration(content)) {
    const WorkingCopy config(name, content);
    Image image = Source_Build(Host_Time());
    image.name = name;
    return image;
  }
  Image image;
  image.name = name;
  image.adapter = name == "-" ? "standard input" : "file";
  image.bytes.assign(content.begin(), content.end());
  return image;
}

Image OpenDevice(const Options& options, const std::string& name) {
  Image image;
  image.name = name;
  try {
    Chip_Read(name, options.anyway, image);
  } catch (const Failure& failure) {
    throw Failure(name + ": " + failure.what());
  }
  return image;
}

}  // namespace

WorkingCopy::WorkingCopy() : folder(std::filesystem::temp_directory_path() / "nvdump.XXXXXX") {
  if (mkdtemp(folder.data()) == nullptr) throw Failure(folder + ": " + std::strerror(errno));
  path = folder + "/device.conf";
}

WorkingCopy::WorkingCopy(const std::string& name, const std::string& content) : WorkingCopy() {
  if (File_Replace(path.c_str(), content) != 0) {
    throw Failure(path + ": write: " + std::strerror(errno));
  }
  device_conf = path.c_str();
  if (Nv_OpenConfig().root == nullptr) throw Failure(name + ": no configuration file");
  product_number.fill('\0');
  (void)Nv_LoadProductNumber();
  (void)Nv_FindNetworkStorageIndex();
}

WorkingCopy::~WorkingCopy() {
  std::error_code ignored;  // there is nobody to tell
  std::filesystem::remove_all(folder, ignored);
}

bool Source_IsName(const std::string& operand) {
  return operand == "-" || operand.find('/') != std::string::npos || File_Exists(operand.c_str());
}

std::string Source_Read(const std::string& path) {
  std::string content;
  if (path == "-") {
    ReadStandardInput(content);
    return content;
  }
  if (File_Read(path.c_str(), content) == 0) return content;
  throw Failure(path + ": read: " + std::strerror(errno));
}

Image Source_Build(std::uint32_t time) {
  Image image;
  image.adapter = "configuration";
  Image_Fit(image);
  (void)Nv_InitEEprom();
  const std::uint32_t time_address = Section_FieldAddress(0, identification_time.offset);
  (void)EEprom_WriteValue(eeprom_handle, time_address, time, 4, ByteOrder::big_endian);
  image.bytes.resize(EEPROM_IMAGE_SIZE);
  EEprom_ReadBytes(eeprom_handle, 0, image.bytes);
  return image;
}

Image Source_Open(const Options& options, const std::string& name) {
  const bool is_device = name.empty() || (name != "-" && IsCharacterDevice(name));
  Image image =
      is_device ? OpenDevice(options, name.empty() ? options.device : name) : OpenFile(name);
  Image_Parse(image);
  return image;
}

Image Source_Open(const Options& options, const std::vector<std::string>& operands) {
  return Source_Open(options, operands.empty() ? std::string() : operands[0]);
}
