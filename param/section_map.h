// SPDX-License-Identifier: MIT
// The chain of sections that make an image, and which fields each of them has.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "param/value_slot.h"
#include "sections/field.h"
#include "sections/section_record.h"

struct SectionMap {
  SectionType type;
  std::int32_t row_count;         // of the fields, the first ones; negative: the end
  std::span<const Field> fields;  // in stored order
  char digit = '\0';              // of a stream profile
};

// One map for each section of the chain, in chain order, and the end mark.
inline constexpr std::size_t chain_sections = 14;
extern const std::array<SectionMap, chain_sections + 1> section_maps;

// The size of an image, which is also the address behind its last byte.
inline constexpr std::uint32_t EEPROM_IMAGE_SIZE = 12074;
static_assert(EEPROM_IMAGE_SIZE <= 16 * 1024,
              "larger than the chip that docs/porting.md asks for: shorten it, or ask for more");

// The map of the section at a position in the chain; the end mark from its position on.
const SectionMap& Map_At(std::size_t position);

// The rows of a map; none for the end mark.
std::span<const Field> Map_Rows(const SectionMap& map);

// The paths of a map's field, separated by ",", with the map's digit in its place. What is no
// stream profile's own, without a digit, travels with the first profile only.
PathText Map_Paths(const SectionMap& map, const Field& field);

// The paths in slot order; empty ones between the commas vanish. They lie in the given text.
struct RowPaths {
  std::array<std::string_view, max_row_paths> path;
  std::size_t count = 0;  // of the paths that there are
};
RowPaths Map_SplitPaths(std::string_view paths);
