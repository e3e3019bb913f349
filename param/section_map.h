// SPDX-License-Identifier: MIT
// The one table that ties the configuration to the EEPROM: one section map for each section of the
// chain, in chain order, and for each field of the section its configuration paths, its key and its
// format.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "param/value_slot.h"
#include "sections/field_codec.h"

struct MapRow {
  std::string_view key;  // the field's name; the conversion rules match on it
  // The configuration paths that the field is made of, separated by ","; empty when there are none.
  // "%d" in a path stands for NsIndex.
  std::string_view path;
};

struct SectionMap {
  std::uint32_t type;
  std::int32_t row_count;  // negative: the end of the table
  const MapRow* rows;
  const FieldFormat* fields;  // one for each row, in stored order
};

inline constexpr std::size_t chain_sections = 14;
extern const std::array<SectionMap, chain_sections + 1> section_maps;

// The map of the section at a position in the chain; the end mark from its position on.
const SectionMap& Map_At(std::size_t position);

// The rows of a map; none for the end mark.
std::span<const MapRow> Map_Rows(const SectionMap& map);

// The offset of a row's field in the payload.
std::uint32_t Map_FieldOffset(const SectionMap& map, std::size_t row);

// The paths of a row in slot order; empty ones between the commas vanish.
struct RowPaths {
  std::array<std::string_view, max_row_paths> path;
  std::size_t count = 0;
};
RowPaths Map_SplitPaths(std::string_view paths);

// The short names of the extension values, by section type. A name labels the value field of the
// same number; an empty one leaves its field empty.
using ExtensionNames = std::span<const std::string_view>;

// The given texts, and empty ones behind them.
template <std::size_t count, std::size_t given>
consteval std::array<std::string_view, count> TextList(const std::string_view (&texts)[given]) {
  static_assert(given <= count);
  std::array<std::string_view, count> list;
  list.fill({});
  std::copy(std::begin(texts), std::end(texts), list.begin());
  return list;
}

// clang-format off
inline constexpr auto ssnt_names = TextList<8>({
    "ipv6_addr", "upnp_en", "nat_en", "nat_http_port", "nat_https_port", "nat_rtsp_port"});
inline constexpr auto lvim_names = TextList<16>({
    "denoise3d", "defog", "exptarget", "colortone", "rotated", "lowlight_en", "lowlight_exp",
    "lowlight_exmin", "lowlight_exmax", "lowlight_gmin", "lowlight_gmax", "lowlight_mode",
    "lowlight_sch", "overlay", "denoise2d"});
inline constexpr auto lvln_names = TextList<8>({"refocus_method"});
inline constexpr auto lvad_names = TextList<8>({"lvad_mode"});
inline constexpr auto lvdn_names = TextList<8>({"smartir", "ir_level", "ir_angle", "night_sch"});
inline constexpr auto stpf_names = TextList<16>({
    "smart_codec", "pf_description", "roi_enabled", "capture_mode"});
inline constexpr auto srin_names = TextList<8>({
    "overwrite", "rec_filesize", "rec_period", "rec_sch", "rec_name"});
inline constexpr auto srex_names = TextList<8>({
    "rec_filesize", "rec_period", "rec_sch", "server_name", "rec_name"});
// clang-format on
