// SPDX-License-Identifier: MIT
#include "nvdump/image.h"

#include <fnmatch.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "config/store.h"
#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "nvdump/options.h"
#include "nvdump/text.h"
#include "param/conversion.h"
#include "platform/i2c_bus.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

ImageState StateOf(const Image& image) {
  if (Nv_IsMftBoard(eeprom_handle)) return ImageState::test_board;
  // Of no product in particular: whatever is not empty is filled.
  if (Nv_CheckIdentification(eeprom_handle, {}) != identification_empty) return ImageState::filled;
  const bool is_erased = std::ranges::all_of(image.bytes, [](auto byte) { return byte == 0xFF; });
  return is_erased ? ImageState::blank : ImageState::unfinished;
}

struct Place {
  std::size_t begin;
  std::size_t end;
};

// Where the passwords are in an image whose sections lie in their places.
std::vector<Place> SecretPlaces() {
  std::vector<Place> places;
  for (std::size_t position = 0; position < chain_sections; ++position) {
    std::size_t at = SectionAddress_At(position) + SECTION_HEADER_SIZE;
    for (const Field& field : Map_At(position).fields) {
      if (field.format.is_secret) places.push_back({at, at + field.format.size});
      at += field.format.size;
    }
  }
  return places;
}

bool IsSecretPlace(std::size_t address, std::size_t size) {
  static const std::vector<Place> places = SecretPlaces();
  return std::ranges::any_of(places, [=](const Place& place) {
    return place.begin < address + size && address < place.end;
  });
}

// As far as the table has sections and one more, which shows that the chain goes on; what lies
// outside of the bytes is no section.
void ReadSections(Image& image) {
  ChainWalk walk;
  do {
    StoredSection section;
    section.position = walk.position;
    section.record.address = walk.address;
    section.is_secret = IsSecretPlace(walk.address, SECTION_HEADER_SIZE);
    section.is_readable = EEprom_ReadSection(eeprom_handle, section.record) == 0;
    image.sections.push_back(std::move(section));
    image.end = Chain_Advance(walk, image.sections.back().record.next_address);
  } while (image.end == ChainStep::next && walk.position <= chain_sections &&
           walk.address < image.bytes.size());
}

void AddFields(const StoredSection& section, std::vector<StoredField>& fields) {
  std::size_t offset = 0;
  for (const Field& field : Map_At(section.position).fields) {
    const std::size_t end = offset + field.format.size;
    if (end > section.record.data.size()) return;
    const std::uint32_t address = Section_FieldAddress(section.record.address, offset);
    // What lies where another section belongs may be anything.
    const bool is_secret = field.format.is_secret ||
                           section.record.type != Map_At(section.position).type ||
                           IsSecretPlace(address, field.format.size);
    fields.push_back({&section, &field, offset, address, is_secret});
    offset = end;
  }
}

// A later row overwrites what an earlier one has put, unless it has nothing to put.
void AddParameter(std::vector<StoredParameter>& parameters, std::string_view path,
                  std::string_view value, const StoredField& stored) {
  auto known = std::ranges::find(parameters, path, &StoredParameter::path);
  if (known == parameters.end()) {
    const bool is_secret = stored.is_secret || IsSecretPath(path);
    parameters.push_back({std::string(path), {}, stored, is_secret});
    known = parameters.end() - 1;
  }
  if (value.empty()) return;
  known->value = value;
  known->source = stored;
  known->is_secret = known->is_secret || stored.is_secret;
}

}  // namespace

std::span<const std::uint8_t> Field_Bytes(const StoredField& stored) {
  return Section_Field(stored.section->record, stored.offset, stored.field->format.size);
}

PathText Paths_Text(const StoredField& stored) {
  return Map_Paths(Map_At(stored.section->position), *stored.field);
}

std::string Key_Text(const StoredField& stored) {
  const auto rows = Map_Rows(Map_At(stored.section->position));
  const bool has_row = stored.section->position == 0 || stored.field < rows.data() + rows.size();
  return has_row ? Key_Text(stored.field->key) : std::string();
}

std::string Key_Text(const FieldKey& key) {
  return std::string(key.text) + (key.number > 0 ? std::to_string(key.number) : "");
}

const char* State_Name(ImageState state) {
  constexpr std::array names = {"blank", "factory-test set-up", "cut short", "filled"};
  return names.at(static_cast<std::size_t>(state));
}

ValueSlots Field_Values(const StoredField& stored) {
  ValueSlots slots{};
  SectionRecord record = stored.section->record;  // a conversion may mend the field
  const Field& field = *stored.field;
  (void)Param_SectionToConfig(record, slots, field.key, stored.offset, field.format);
  return slots;
}

void Image_Fit(const Image& image) {
  static const int memory = memfd_create("image", MFD_CLOEXEC);
  const bool is_written =
      ftruncate(memory, 0) == 0 && pwrite(memory, image.bytes.data(), image.bytes.size(), 0) ==
                                       static_cast<ssize_t>(image.bytes.size());
  if (!is_written) throw Failure(std::string("memory for an image: ") + std::strerror(errno));
  eeprom_handle = memory;
  (void)I2c_UseAdapter(&i2c_image_adapter);
}

void Image_Parse(Image& image) {
  Image_Fit(image);
  image.state = StateOf(image);
  if (image.state == ImageState::blank || image.state == ImageState::test_board) return;
  ReadSections(image);
  if (image.state != ImageState::filled) return;
  const SectionRecord& record = image.sections[0].record;
  const auto [id_offset, id_size] = identification_id;
  const auto [time_offset, time_size] = identification_time;
  image.product = Field_Text(Section_Field(record, id_offset, id_size));
  image.time = Field_Number(Section_Field(record, time_offset, time_size));
}

std::vector<std::uint8_t> Image_Bytes(const Image& image, std::size_t address, std::size_t size) {
  std::vector<std::uint8_t> bytes(size, 0xFF);
  if (address >= image.bytes.size()) return bytes;
  std::copy_n(image.bytes.begin() + static_cast<std::ptrdiff_t>(address),
              std::min(size, image.bytes.size() - address), bytes.begin());
  return bytes;
}

std::vector<StoredField> Image_Fields(const Image& image) {
  std::vector<StoredField> fields;
  for (const StoredSection& section : image.sections) {
    if (section.is_readable) AddFields(section, fields);
  }
  return fields;
}

std::vector<StoredParameter> Image_Parameters(const Image& image) {
  std::vector<StoredParameter> parameters;
  for (const StoredField& stored : Image_Fields(image)) {
    const PathText row_paths = Paths_Text(stored);
    const RowPaths paths = Map_SplitPaths(row_paths.data());
    if (paths.count == 0) continue;
    const ValueSlots slots = Field_Values(stored);
    for (std::size_t i = 0; i < paths.count; ++i) {
      AddParameter(parameters, paths.path[i], Slot_Text(slots[i]), stored);
    }
  }
  return parameters;
}

bool IsPath(std::string_view table_path, const std::string& path) {
  if (table_path == path) return true;
  int index = 0;
  if (table_path.find("%d") == std::string_view::npos) return false;
  return Text_ScanInts(path, table_path, &index) == 1 &&
         path == Nv_FormatPath(table_path, index).data();
}

bool FitsPattern(const std::string& table_path, const std::string& pattern) {
  constexpr int most_instances = 100;  // that a pattern is tried on
  if (fnmatch(pattern.c_str(), table_path.c_str(), 0) == 0 || IsPath(table_path, pattern)) {
    return true;
  }
  if (table_path.find("%d") == std::string::npos) return false;
  for (int index = 0; index < most_instances; ++index) {
    const PathText path = Nv_FormatPath(table_path, index);
    if (fnmatch(pattern.c_str(), path.data(), 0) == 0) return true;
  }
  return false;
}

bool IsSecretPath(std::string_view path) {
  const std::string text(path);
  return std::ranges::any_of(section_maps, [&text](const SectionMap& map) {
    return std::ranges::any_of(map.fields, [&](const Field& field) {
      return field.format.is_secret && IsPath(Map_Paths(map, field).data(), text);
    });
  });
}

std::string SectionName_At(std::size_t position) {
  if (position >= chain_sections) return Format("#%zu", position);
  const SectionMap& map = Map_At(position);
  const std::string_view key = map.fields[0].key.text;
  std::string name(key.substr(0, key.find('_')));
  if (map.digit != '\0') name += map.digit;
  return name;
}

bool IsSection(const std::string& name, std::string_view wanted) {
  const std::size_t without_number = name.find_last_not_of("0123456789") + 1;
  return wanted.empty() || name == wanted || name.substr(0, without_number) == wanted;
}

std::uint32_t SectionAddress_At(std::size_t position) {
  std::size_t address = 0;
  for (std::size_t i = 0; i < position; ++i) {
    address += SECTION_HEADER_SIZE + PayloadSize(Map_At(i).fields);
  }
  return static_cast<std::uint32_t>(address);
}
