// SPDX-License-Identifier: MIT
// Where an image comes from, a file, a configuration or the chip on the I/O board, and what its
// bytes are.
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "nvdump/nvdump.h"
#include "param/conversion.h"
#include "platform/file.h"
#include "platform/host.h"
#include "platform/i2c_bus.h"
#include "sections/chain.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

constexpr std::size_t largest_image = 0x10000;  // its addresses have 16 bits
constexpr std::size_t largest_configuration = 0x100000;
// A chip is silent for 10 ms after each write, and a daemon that writes a long text leaves little
// time in between.
constexpr unsigned patience_ms = 500;

const I2cAdapter* chip_adapter;  // behind the one that asks again
I2cAdapter patient_reader;
std::string chip_fault;  // of the first byte that gave no answer
std::size_t bytes_read;
std::chrono::steady_clock::time_point started;

bool TakesLong() {
  return isatty(STDERR_FILENO) != 0 &&
         std::chrono::steady_clock::now() - started > std::chrono::seconds(1);
}

const char* Reason() { return errno == ENOTTY ? "no I2C bus" : std::strerror(errno); }

// Asks the chip until it answers, or until it would have long ago.
ssize_t ReadChip(int fd, std::span<std::uint8_t> buffer) {
  for (unsigned attempt = 1; chip_fault.empty(); ++attempt) {
    std::array transfer{buffer[0], buffer[1]};
    if (chip_adapter->read(fd, transfer) > 0) {
      buffer[0] = transfer[0];
      const bool is_step = ++bytes_read % 256 == 0;
      if (is_step && TakesLong()) (void)std::fprintf(stderr, "\r%zu bytes read", bytes_read);
      return static_cast<ssize_t>(buffer.size());
    }
    if (errno == ENOTTY || attempt == patience_ms) {
      chip_fault = Format("address %04x stays silent: ", I2c_RegisterAddress(buffer)) + Reason();
    }
    Host_SleepMicroseconds(1000);
  }
  return -1;
}

// Where the chain ends, by its headers. Behind a first one that is none, the second section lies
// where it belongs if a fill was cut short.
std::size_t EndOfChain(int fd) {
  std::size_t end = 0;
  ChainWalk walk;
  ChainStep step = ChainStep::next;
  while (step == ChainStep::next && walk.position < chain_sections &&
         walk.address < largest_image) {
    SectionRecord record;
    record.address = walk.address;
    EEprom_ReadHeader(fd, record);
    const std::size_t payload = Section_PayloadSize(record.type);
    end = std::max<std::size_t>(end, Section_FieldAddress(walk.address, payload));
    const bool is_begun = walk.position > 0 || record.type == SectionType::identification;
    if (!is_begun) record.next_address = Section_FieldAddress(0, PayloadSize(Map_At(0).fields));
    step = Chain_Advance(walk, record.next_address);
  }
  return std::min(end, largest_image);
}

std::vector<std::uint8_t> ReadOnce(int fd, const std::string& name) {
  bytes_read = 0;
  (void)EEprom_SelectByteWidth(fd);
  std::vector<std::uint8_t> bytes(EndOfChain(fd));
  EEprom_ReadBytes(fd, 0, bytes);
  if (TakesLong()) (void)std::fputs("\r\x1B[K", stderr);
  if (!chip_fault.empty()) throw Failure(name + ": " + chip_fault);
  return bytes;
}

// Whether anybody holds the device's lock, as a running daemon does. A lock that is taken to find
// out, however short, keeps a daemon that starts in that moment from its device. Throws Failure
// when that leaves nothing to be read.
bool IsShared(int fd, const Options& options, const std::string& name) {
  struct stat status {};
  std::string locks;
  if (fstat(fd, &status) != 0 || File_Read("/proc/locks", locks) != 0) return false;
  // "1: FLOCK  ADVISORY  WRITE 4711 00:05:123 0 EOF"
  const std::string file = Format(" %02x:%02x:", major(status.st_dev), minor(status.st_dev)) +
                           std::to_string(status.st_ino) + " ";
  if (locks.find(file) == locks.npos) return false;
  if (chip_adapter != &i2c_vendor_adapter || options.flags.at("anyway")) return true;
  throw Failure(name +
                ": in use by a daemon, and its driver would mix up both; stop nvd, or --anyway");
}

// Reads the device as far as its chain of sections goes, and never writes. Beside a daemon, which
// may be started meanwhile, what reads the same twice is whole.
void OpenChip(const Options& options, Image& image) {
  constexpr int most_readings = 10;
  const int fd = I2c_OpenToRead(image.name.c_str());
  if (fd < 0) throw Failure(image.name + ": " + Reason());
  image.adapter = I2c_AdapterName();
  chip_adapter = I2c_UseAdapter(&patient_reader);
  patient_reader = *chip_adapter;
  patient_reader.write = [](int, std::span<const std::uint8_t>) { return ssize_t{-1}; };
  patient_reader.read = ReadChip;
  chip_fault.clear();
  started = std::chrono::steady_clock::now();
  bool is_shared = IsShared(fd, options, image.name);
  std::vector<std::uint8_t> before;
  int readings = 0;
  do {
    before = std::exchange(image.bytes, ReadOnce(fd, image.name));
    is_shared = IsShared(fd, options, image.name) || is_shared;
  } while (is_shared && image.bytes != before && ++readings < most_readings);
  if (readings == most_readings) {
    Say(image.name + ": keeps changing, a value may be half old and half new");
  }
  I2c_Close(fd);
}

// The type of an image's first section does not begin with a "<".
bool IsConfiguration(std::string_view content) {
  const std::size_t first = content.find_first_not_of("\xEF\xBB\xBF \t\r\n");
  return first != std::string_view::npos && content[first] == '<';
}

void OpenFile(Image& image) {
  const std::string content = Source_Read(image.name);
  if (IsConfiguration(content)) {
    Config_Use(image.name, content);
    image.adapter = "configuration";
    image.bytes = Start_Fill(Host_Time());
    return;
  }
  image.adapter = image.name == "-" ? "standard input" : "file";
  image.bytes.assign(content.begin(), content.end());
  if (image.bytes.size() <= largest_image) return;
  Say(image.name + Format(": only the first %zu bytes are read", largest_image));
  image.bytes.resize(largest_image);
}

bool IsErased(std::span<const std::uint8_t> bytes) {
  return std::ranges::all_of(bytes, [](auto byte) { return byte == 0xFF; });
}

// Whether a section lies where it belongs, or the first one is still blank: a fill writes it last.
bool HasSection(std::span<const std::uint8_t> bytes) {
  SectionRecord record;
  for (const SectionMap& map : std::span(section_maps).first(chain_sections)) {
    EEprom_ReadHeader(eeprom_handle, record);
    if (record.type == map.type) return true;
    record.address = Section_FieldAddress(record.address, PayloadSize(map.fields));
  }
  return IsErased(bytes.first(std::min<std::size_t>(bytes.size(), SECTION_HEADER_SIZE)));
}

ImageState StateOf(const Image& image) {
  if (Nv_IsMftBoard(eeprom_handle)) return ImageState::test_board;
  // Of no product in particular: whatever is not empty is filled.
  if (Nv_CheckIdentification(eeprom_handle, {}) != identification_empty) return ImageState::filled;
  if (IsErased(image.bytes)) return ImageState::blank;
  if (HasSection(image.bytes)) return ImageState::unfinished;
  throw Failure(image.name + ": no image: no section is where one belongs");
}

void ReadSections(Image& image) {
  ChainWalk walk;
  ChainStep step = ChainStep::next;
  while (step == ChainStep::next && walk.position < chain_sections &&
         walk.address < image.bytes.size()) {
    SectionRecord& record = image.sections.emplace_back();
    record.address = walk.address;
    if (EEprom_ReadSection(eeprom_handle, record) == 0 &&
        Section_FieldAddress(walk.address, record.data.size()) > image.bytes.size()) {
      record.data.clear();
      (void)EEprom_WriteByte(eeprom_handle, walk.address, 0xFF);
    }
    step = Chain_Advance(walk, record.next_address);
  }
}

void AddRanges(Image& image) {
  const std::size_t size = image.bytes.size();
  for (std::size_t position = 0; position < image.sections.size(); ++position) {
    const SectionRecord& section = image.sections[position];
    const std::size_t at = section.address, payload = at + SECTION_HEADER_SIZE;
    image.ranges.push_back({at, std::min(payload, size) - at, position, &section});
    std::size_t offset = 0;
    for (const Field& field : Map_At(position).fields) {
      const std::size_t length = field.format.size;
      if (offset + length > section.data.size()) break;
      image.ranges.push_back({payload + offset, length, position, &section, &field, offset});
      offset += length;
    }
  }
  std::vector<Range> ascending = image.ranges;
  std::ranges::stable_sort(ascending, {}, &Range::address);
  ascending.push_back({size, 0});
  std::size_t end = 0;
  for (const Range& range : ascending) {
    if (range.address > end) image.ranges.push_back({end, range.address - end});
    end = std::max(end, range.address + range.size);
  }
}

// Hides the passwords where they belong, what lies in a section that is not the one that belongs
// there, and what no section describes, which may be left of a password unless it is uniform.
void HideSecrets(Image& image) {
  const auto hide = [&image](std::size_t from, std::size_t size) {
    const auto bytes = std::span(image.secret).subspan(std::min(from, image.secret.size()));
    std::ranges::fill(bytes.first(std::min(size, bytes.size())), 1);
  };
  std::size_t at = 0;
  for (const SectionMap& map : section_maps) {
    at += SECTION_HEADER_SIZE;
    for (const Field& field : map.fields) {
      if (field.format.is_secret) hide(at, field.format.size);
      at += field.format.size;
    }
  }
  for (const auto& [address, size, position, section, field, offset] : image.ranges) {
    const auto bytes = std::span(image.bytes).subspan(address, size);
    const bool is_uniform = std::ranges::count(bytes, bytes[0]) == std::ssize(bytes);
    const bool is_stray = section != nullptr && section->type != Map_At(position).type;
    const bool is_secret =
        field != nullptr ? is_stray || field->format.is_secret : section == nullptr && !is_uniform;
    if (is_secret) hide(address, size);
  }
}

}  // namespace

Image Source_Open(const Options& options, const std::string& operand) {
  Image image;
  image.name = operand.empty() ? options.words.at("device") : operand;
  if (image.name.empty()) throw Failure("no source: name a file, or --device PATH for a chip");
  std::error_code ignored;
  const bool is_chip = operand.empty() || std::filesystem::is_character_file(operand, ignored);
  if (is_chip) OpenChip(options, image);
  if (!is_chip) OpenFile(image);
  Image_Parse(image, options.flags.at("secrets"));
  return image;
}

std::string Source_Read(const std::string& name) {
  static bool is_read = false;
  if (name == "-" && std::exchange(is_read, true)) throw Failure("-: can be read once only");
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

void Image_Fit(std::span<const std::uint8_t> bytes) {
  static const int memory = memfd_create("image", MFD_CLOEXEC);
  const bool is_written =
      ftruncate(memory, 0) == 0 &&
      pwrite(memory, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size());
  if (!is_written) throw Failure(std::string("memory for an image: ") + std::strerror(errno));
  eeprom_handle = memory;
  (void)I2c_UseAdapter(&i2c_image_adapter);
}

void Image_Parse(Image& image, bool secrets) {
  Image_Fit(image.bytes);
  image.secret.assign(image.bytes.size(), 0);
  image.state = StateOf(image);
  const bool is_filled = image.state == ImageState::filled;
  if (is_filled || image.state == ImageState::unfinished) ReadSections(image);
  AddRanges(image);
  if (!secrets && image.state != ImageState::blank) HideSecrets(image);
  if (!is_filled || image.sections[0].data.empty()) return;
  image.product = Field_Text(Field_Bytes(image.ranges.at(1)));
  image.time = Field_Number(Field_Bytes(image.ranges.at(2)));
}

std::size_t Image_Count(const Image& image) {
  return static_cast<std::size_t>(std::ranges::count_if(
      image.sections, [](const SectionRecord& section) { return !section.data.empty(); }));
}

const char* State_Name(ImageState state) {
  constexpr std::array names = {"blank", "factory-test set-up", "cut short", "filled"};
  return names.at(static_cast<std::size_t>(state));
}

std::span<const std::uint8_t> Field_Bytes(const Range& range) {
  return Section_Field(*range.section, range.offset, range.size);
}

ValueSlots Field_Values(const Range& range) {
  ValueSlots slots{};
  SectionRecord record = *range.section;  // a conversion may mend the field
  const Field& field = *range.field;
  (void)Param_SectionToConfig(record, slots, field.key, range.offset, field.format);
  return slots;
}
