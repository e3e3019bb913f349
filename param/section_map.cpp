// SPDX-License-Identifier: MIT
#include "param/section_map.h"

#include "sections/device_records.h"
#include "sections/image_record.h"
#include "sections/recording_records.h"
#include "sections/section.h"
#include "sections/stream_record.h"
#include "sections/system_records.h"

// clang-format off
constexpr std::array<SectionMap, chain_sections + 1> section_maps = {{
    {SectionType::identification, 0, IdentificationRecord},
    {SectionType::ssdt, 7,  SsdtRecord},
    {SectionType::sssc, 15, SsscRecord},
    {SectionType::ssnt, 25, SsntRecord},
    {SectionType::lvim, 57, LvimRecord},
    {SectionType::lvln, 24, LvlnRecord},
    {SectionType::lvad, 23, LvadRecord},
    {SectionType::lvdn, 22, LvdnRecord},
    {SectionType::stpf, 46, StpfRecord, '0'},
    {SectionType::stpf, 46, StpfRecord, '1'},
    {SectionType::stpf, 46, StpfRecord, '2'},
    {SectionType::stpf, 46, StpfRecord, '3'},
    {SectionType::srin, 25, SrinRecord},
    // The last extension's value has a place in every image, but no image has ever held one.
    {SectionType::srex, 37, SrexRecord},
    {SectionType::end_of_map, -1, {}},
}};
// clang-format on

namespace {

// The address at which the section at a chain position lies.
consteval std::size_t AddressAt(std::size_t position) {
  std::size_t address = 0;
  for (std::size_t i = 0; i < position; ++i) {
    address += SECTION_HEADER_SIZE + PayloadSize(section_maps[i].fields);
  }
  return address;
}

// Whether a map's rows are its list's, and no path lies behind them, which would not travel.
consteval bool HasItsRows(const SectionMap& map) {
  if (map.row_count < 0) return map.fields.empty();
  const auto rows = static_cast<std::size_t>(map.row_count);
  return rows <= map.fields.size() &&
         std::ranges::all_of(map.fields.subspan(rows), &std::string_view::empty, &Field::paths);
}

static_assert(std::ranges::all_of(section_maps, HasItsRows));
static_assert(most_paths == max_row_paths && longest_paths < std::tuple_size_v<PathText>);
// clang-format off
static_assert(AddressAt(1) == 45    && AddressAt(2) == 248    && AddressAt(3) == 582);
static_assert(AddressAt(4) == 1397  && AddressAt(5) == 2848   && AddressAt(6) == 3511);
static_assert(AddressAt(7) == 4171  && AddressAt(8) == 4829   && AddressAt(9) == 6179);
static_assert(AddressAt(10) == 7529 && AddressAt(11) == 8879  && AddressAt(12) == 10229);
static_assert(AddressAt(13) == 10952 && AddressAt(chain_sections) == EEPROM_IMAGE_SIZE);
// clang-format on

}  // namespace

const SectionMap& Map_At(std::size_t position) {
  return section_maps[std::min(position, chain_sections)];
}

std::span<const Field> Map_Rows(const SectionMap& map) {
  return map.fields.first(static_cast<std::size_t>(std::max(map.row_count, 0)));
}

PathText Map_Paths(const SectionMap& map, const Field& field) {
  PathText paths{};
  const bool is_first_profiles = field.paths.find('#') == std::string_view::npos;
  if (is_first_profiles && map.digit > '0') return paths;
  std::ranges::replace_copy(field.paths, paths.begin(), '#', map.digit);
  return paths;
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
