// SPDX-License-Identifier: MIT
#include "param/section_map.h"

#include "sections/device_records.h"
#include "sections/image_record.h"
#include "sections/recording_records.h"
#include "sections/section.h"
#include "sections/stream_record.h"
#include "sections/system_records.h"

namespace {

consteval SectionMap Map(SectionType type, std::span<const Field> fields) {
  return {type, static_cast<std::int32_t>(FieldCountWithKey(fields)), fields};
}

constexpr auto maps = std::to_array<SectionMap>({
    {SectionType::identification, 0, identification_fields},  // made of no parameters
    Map(SectionType::ssdt, ssdt_fields),
    Map(SectionType::sssc, sssc_fields),
    Map(SectionType::ssnt, ssnt_fields),
    Map(SectionType::lvim, lvim_fields),
    Map(SectionType::lvln, lvln_fields),
    Map(SectionType::lvad, lvad_fields),
    Map(SectionType::lvdn, lvdn_fields),
    Map(SectionType::stpf, stpf_fields),
    Map(SectionType::stpf, stpf_fields_of<'1'>),
    Map(SectionType::stpf, stpf_fields_of<'2'>),
    Map(SectionType::stpf, stpf_fields_of<'3'>),
    Map(SectionType::srin, srin_fields),
    Map(SectionType::srex, srex_fields),
    {SectionType::end_of_map, -1, {}},
});

// The address at which the section at a chain position lies.
constexpr std::size_t AddressAt(std::size_t position) {
  std::size_t address = 0;
  for (std::size_t i = 0; i < position; ++i) {
    address += SECTION_HEADER_SIZE + PayloadSize(maps.at(i).fields);
  }
  return address;
}

static_assert(most_paths == max_row_paths);
// clang-format off
static_assert(maps[1].row_count == 7   && maps[2].row_count == 15  && maps[3].row_count == 25);
static_assert(maps[4].row_count == 57  && maps[5].row_count == 24  && maps[6].row_count == 23);
static_assert(maps[7].row_count == 22  && maps[8].row_count == 46  && maps[11].row_count == 46);
static_assert(maps[12].row_count == 25 && maps[13].row_count == 37);
static_assert(AddressAt(1) == 45    && AddressAt(2) == 248    && AddressAt(3) == 582);
static_assert(AddressAt(4) == 1397  && AddressAt(5) == 2848   && AddressAt(6) == 3511);
static_assert(AddressAt(7) == 4171  && AddressAt(8) == 4829   && AddressAt(9) == 6179);
static_assert(AddressAt(10) == 7529 && AddressAt(11) == 8879  && AddressAt(12) == 10229);
static_assert(AddressAt(13) == 10952 && AddressAt(chain_sections) == EEPROM_IMAGE_SIZE);
// clang-format on

}  // namespace

const std::array<SectionName, chain_sections> section_names = std::to_array<SectionName>({
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
});

const std::array<SectionMap, chain_sections + 1> section_maps = maps;

std::uint32_t Map_Address(std::size_t position) {
  return static_cast<std::uint32_t>(AddressAt(std::min(position, chain_sections)));
}

const SectionMap& Map_At(std::size_t position) {
  return section_maps[std::min(position, chain_sections)];
}

std::span<const Field> Map_Rows(const SectionMap& map) {
  return map.fields.first(static_cast<std::size_t>(std::max(map.row_count, 0)));
}

RowPaths Map_SplitPaths(std::string_view paths) {
  RowPaths split;
  while (!paths.empty() && split.count < max_row_paths) {
    const std::string_view path = paths.substr(0, paths.find(','));
    if (!path.empty()) split.path[split.count++] = path;
    paths.remove_prefix(std::min(path.size() + 1, paths.size()));
  }
  return split;
}
