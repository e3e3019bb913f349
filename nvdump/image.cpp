// SPDX-License-Identifier: MIT
#include "nvdump/image.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <set>

#include "eeprom/i2c_eeprom.h"
#include "eeprom/identification.h"
#include "nvdump/options.h"
#include "nvdump/text.h"
#include "param/conversion.h"
#include "platform/i2c_bus.h"
#include "sections/chain.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

constexpr std::array<std::array<const char*, 2>, chain_sections> section_titles = {{
    {"id", "identification"},
    {"ssdt", "date and time"},
    {"sssc", "users"},
    {"ssnt", "network"},
    {"lvim", "image"},
    {"lvln", "lens"},
    {"lvad", "audio"},
    {"lvdn", "day/night and infrared"},
    {"stpf0", "stream profile I0"},
    {"stpf1", "stream profile I1"},
    {"stpf2", "stream profile I2"},
    {"stpf3", "stream profile I3"},
    {"srin", "recording to the memory card"},
    {"srex", "recording to network storage"},
}};

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
    auto& [position, record, is_readable] = image.sections.emplace_back();
    position = walk.position;
    record.address = walk.address;
    is_readable = EEprom_ReadSection(eeprom_handle, record) == 0 &&
                  Section_FieldAddress(walk.address, record.data.size()) <= image.bytes.size();
    if (!is_readable) (void)EEprom_WriteByte(eeprom_handle, walk.address, 0xFF);
    step = Chain_Advance(walk, record.next_address);
  }
}

void AddRanges(Image& image) {
  const std::size_t size = image.bytes.size();
  for (const StoredSection& section : image.sections) {
    std::size_t at = section.record.address, offset = 0;
    const std::size_t payload = at + SECTION_HEADER_SIZE;
    image.ranges.push_back({at, std::min(payload, size) - at, &section});
    for (const Field& field : Map_At(section.position).fields) {
      const std::size_t end = offset + field.format.size;
      if (!section.is_readable || end > section.record.data.size()) break;
      image.ranges.push_back({payload + offset, field.format.size, &section, &field, offset});
      offset = end;
    }
  }
  std::vector<bool> is_known(size + 1);
  for (const Range& range : image.ranges) {
    std::fill_n(is_known.begin() + static_cast<std::ptrdiff_t>(range.address), range.size, true);
  }
  is_known[size] = true;
  for (std::size_t from = 0, at = 0; at <= size; ++at) {
    if (!is_known[at]) continue;
    if (at > from) image.ranges.push_back({from, at - from});
    from = at + 1;
  }
}

// Hides the passwords where they belong, what lies in a section that is not the one that belongs
// there, and what no section describes, which may be left of a password unless it is uniform.
void HideSecrets(Image& image) {
  const auto hide = [&image](std::size_t from, std::size_t size) {
    const std::size_t end = std::min(from + size, image.bytes.size());
    for (std::size_t i = from; i < end; ++i) image.secret[i] = true;
  };
  std::size_t at = 0;
  for (const SectionMap& map : section_maps) {
    at += SECTION_HEADER_SIZE;
    for (const Field& field : map.fields) {
      if (field.format.is_secret) hide(at, field.format.size);
      at += field.format.size;
    }
  }
  for (const auto& [address, size, section, field, offset] : image.ranges) {
    const auto bytes = std::span(image.bytes).subspan(address, size);
    const bool is_uniform = std::ranges::count(bytes, bytes[0]) == std::ssize(bytes);
    const bool is_stray =
        section != nullptr && section->record.type != Map_At(section->position).type;
    const bool is_secret = section == nullptr
                               ? !is_uniform
                               : field != nullptr && (is_stray || field->format.is_secret);
    if (is_secret) hide(address, size);
  }
}

}  // namespace

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
  image.secret.assign(image.bytes.size(), false);
  image.state = StateOf(image);
  const bool is_filled = image.state == ImageState::filled;
  if (is_filled || image.state == ImageState::unfinished) ReadSections(image);
  AddRanges(image);
  if (!secrets) HideSecrets(image);
  if (!is_filled) return;
  const SectionRecord& record = image.sections[0].record;
  const auto [id_offset, id_size] = identification_id;
  const auto [time_offset, time_size] = identification_time;
  image.product = Field_Text(Section_Field(record, id_offset, id_size));
  image.time = Field_Number(Section_Field(record, time_offset, time_size));
}

std::size_t Image_Count(const Image& image) {
  const auto count = std::ranges::count(image.sections, true, &StoredSection::is_readable);
  return static_cast<std::size_t>(count);
}

bool Image_SayWhatIsMissing(const Image& image) {
  if (image.state == ImageState::blank || image.state == ImageState::test_board) return false;
  std::set<std::string> all, stored;
  std::string sections;
  for (std::size_t position = 0; position < chain_sections; ++position) {
    const bool is_there = position < image.sections.size();
    if (!is_there || !image.sections[position].is_readable) {
      sections += std::string(" ") + Section_Name(position);
    }
    for (const Field& field : Map_At(position).fields) {
      for (const std::string& path : Field_Paths(position, field)) all.insert(path);
    }
  }
  for (const auto& [address, size, section, field, offset] : image.ranges) {
    if (field == nullptr) continue;
    for (const std::string& path : Field_Paths(section->position, *field)) stored.insert(path);
  }
  if (sections.empty() && all == stored) return false;
  Say(image.name + ": can't be read:" + sections +
      Format("; %zu parameters are missing", all.size() - stored.size()));
  return true;
}

bool Image_Hides(const Image& image, const Range& range) {
  const auto begin = image.secret.begin() + static_cast<std::ptrdiff_t>(range.address);
  const auto end = begin + static_cast<std::ptrdiff_t>(range.size);
  return std::find(begin, end, true) != end;
}

const char* State_Name(ImageState state) {
  constexpr std::array names = {"blank", "factory-test set-up", "cut short", "filled"};
  return names.at(static_cast<std::size_t>(state));
}

std::span<const std::uint8_t> Field_Bytes(const Range& range) {
  return Section_Field(range.section->record, range.offset, range.size);
}

ValueSlots Field_Values(const Range& range) {
  ValueSlots slots{};
  SectionRecord record = range.section->record;  // a conversion may mend the field
  const Field& field = *range.field;
  (void)Param_SectionToConfig(record, slots, field.key, range.offset, field.format);
  return slots;
}

std::string Field_Key(const Range& range) {
  const auto& [text, number] = range.field->key;
  const std::size_t position = range.section->position;
  const std::size_t rows = Map_Rows(Map_At(position)).size();
  const bool has_row = range.field < Map_At(position).fields.data() + rows;
  if (position > 0 && !has_row) return {};
  return std::string(text) + (number > 0 ? std::to_string(number) : "");
}

std::vector<std::string> Field_Paths(std::size_t position, const Field& field) {
  const PathText text = Map_Paths(Map_At(position), field);
  const RowPaths paths = Map_SplitPaths(text.data());
  return {paths.path.begin(), paths.path.begin() + paths.count};
}

const char* Section_Name(std::size_t position) { return section_titles.at(position)[0]; }
const char* Section_Content(std::size_t position) { return section_titles.at(position)[1]; }

bool IsSection(const std::string& name, std::string_view wanted) {
  const std::size_t without_number = name.find_last_not_of("0123456789") + 1;
  return wanted.empty() || name == wanted || name.substr(0, without_number) == wanted;
}
