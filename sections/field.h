// SPDX-License-Identifier: MIT
// The fields of a section: one row a field, in stored order. A row says what the field is called,
// how it is stored and which configuration parameters it is made of; offsets, addresses, the
// encoder, the decoder and the rows of the section map all follow from it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "sections/compile_time_text.h"

enum class FieldKind : std::uint8_t {
  MAP_TEXT = 0,    // text, terminated inside the field unless it fills it
  MAP_BYTE = 3,    // a flag or an enumeration
  MAP_U16 = 4,     // big-endian in the EEPROM
  MAP_S16 = 5,     // big-endian in the EEPROM, two's complement
  MAP_WORD32 = 6,  // big-endian in the EEPROM
};
using enum FieldKind;

struct FieldFormat {
  std::uint16_t size;      // bytes
  FieldKind kind;          // how they are stored
  bool is_secret = false;  // what shows an image to people hides the field and its parameters
};

inline constexpr FieldFormat byte_field{1, MAP_BYTE};
inline constexpr FieldFormat u16_field{2, MAP_U16};
inline constexpr FieldFormat s16_field{2, MAP_S16};
inline constexpr FieldFormat word32_field{4, MAP_WORD32};
consteval FieldFormat TextField(std::uint16_t size) { return {size, MAP_TEXT}; }
inline constexpr FieldFormat password_field{32, MAP_TEXT, true};

// The bounds of a row's texts, in bytes but for the number of paths.
inline constexpr std::size_t longest_key = 63;
inline constexpr std::size_t longest_paths = 255;
inline constexpr std::ptrdiff_t most_paths = 3;
inline constexpr std::size_t longest_name = 15;

struct Field {
  std::string_view key;  // what the conversion rules know it by; empty: a place without a row
  FieldFormat format;    // how it lies in the payload
  // The configuration parameters that the field is made of, separated by ","; empty when there are
  // none. "%d" stands for NsIndex.
  std::string_view paths = {};
};

// A further configuration value of a section, which travels as text beside its short name.
struct Extension {
  std::string_view name;   // empty: the pair of fields stays empty
  std::string_view paths;  // as in Field
};

// The given extensions, and empty ones behind them.
template <std::size_t count, std::size_t given>
consteval std::array<Extension, count> Extensions(const Extension (&extensions)[given]) {
  static_assert(given <= count);
  std::array<Extension, count> list{};
  std::copy(std::begin(extensions), std::end(extensions), list.begin());
  return list;
}

// Fields "<prefix>1", "<prefix>2", ... of 16 bytes for the extensions' names.
template <Literal prefix, std::size_t count>
consteval auto NameFields(const std::array<Extension, count>& /*a rule fills the names in*/) {
  return []<std::size_t... i>(std::index_sequence<i...>) {
    return std::array{Field{joined<prefix, DecimalLiteral<i + 1>()>, TextField(16)}...};
  }
  (std::make_index_sequence<count>());
}

// Fields "<prefix>1", "<prefix>2", ... of 64 bytes for the extensions' values.
template <Literal prefix, std::size_t count>
consteval auto ValueFields(const std::array<Extension, count>& extensions) {
  return [&]<std::size_t... i>(std::index_sequence<i...>) {
    return std::array{
        Field{joined<prefix, DecimalLiteral<i + 1>()>, TextField(64), extensions[i].paths}...};
  }
  (std::make_index_sequence<count>());
}

template <std::size_t... sizes>
consteval auto JoinFields(const std::array<Field, sizes>&... lists) {
  std::array<Field, (sizes + ...)> fields{};
  auto* end = fields.begin();
  ((end = std::copy(lists.begin(), lists.end(), end)), ...);
  return fields;
}

// The same fields, of which the last one has a place, but no key and thus no row.
template <std::size_t count>
consteval std::array<Field, count> WithoutLastKey(std::array<Field, count> fields) {
  fields.back().key = {};
  return fields;
}

// The offset of field `index`, which is also the size of the fields before it.
constexpr std::size_t FieldOffset(std::span<const Field> fields, std::size_t index) {
  std::size_t offset = 0;
  for (const Field& field : fields.first(index)) offset += field.format.size;
  return offset;
}

constexpr std::size_t PayloadSize(std::span<const Field> fields) {
  return FieldOffset(fields, fields.size());
}

// Where a field lies in its payload.
struct FieldPlace {
  std::size_t offset;  // from the payload's start
  std::size_t size;    // bytes
};

void no_field_has_this_key();  // has no body: whoever calls it does not compile

// The index of the field with a key; a key that no field has does not compile.
consteval std::size_t FieldIndex(std::span<const Field> fields, std::string_view key) {
  const auto field = std::ranges::find(fields, key, &Field::key);
  if (field == fields.end()) no_field_has_this_key();
  return static_cast<std::size_t>(field - fields.begin());
}

consteval FieldPlace PlaceOf(std::span<const Field> fields, std::string_view key) {
  const std::size_t index = FieldIndex(fields, key);
  return {FieldOffset(fields, index), fields[index].format.size};
}

// The fields that have a key; those without come behind them.
consteval std::size_t FieldCountWithKey(std::span<const Field> fields) {
  return static_cast<std::size_t>(
      std::ranges::count_if(fields, [](const Field& field) { return !field.key.empty(); }));
}

// Numbers of their kind's size, and texts in pieces of 4 bytes: what the writer relies on.
consteval bool IsStorable(FieldFormat format) {
  switch (format.kind) {
    case MAP_TEXT:
      return format.size % 4 == 0 && format.size > 0;
    case MAP_BYTE:
      return format.size == 1;
    case MAP_U16:
    case MAP_S16:
      return format.size == 2;
    case MAP_WORD32:
      return format.size == 4;
  }
  return false;
}

// Whether a path of a comma-separated list is empty or stands twice.
consteval bool HasIdlePath(std::string_view paths) {
  while (!paths.empty()) {
    const std::string_view path = paths.substr(0, paths.find(','));
    paths.remove_prefix(std::min(path.size() + 1, paths.size()));
    if (path.empty()) return true;
    for (std::string_view rest = paths; !rest.empty();) {
      const std::string_view other = rest.substr(0, rest.find(','));
      if (other == path) return true;
      rest.remove_prefix(std::min(other.size() + 1, rest.size()));
    }
  }
  return false;
}

// What is wrong with the first faulty row. `stray` is a key that is meant not to begin with the
// section's prefix.
consteval Finding FaultOf(std::span<const Field> fields, std::string_view prefix,
                          std::string_view stray = {}) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const auto& [key, format, paths] = fields[i];
    if (!IsStorable(format)) return {key, "this size and kind can't be stored"};
    if (paths.size() > longest_paths) return {key, "the paths are too long"};
    if (std::ranges::count(paths, ',') >= most_paths) return {key, "too many paths"};
    if (HasIdlePath(paths)) return {key, "a path is empty or stands twice"};
    if (key.empty()) continue;
    if (key.size() > longest_key) return {key, "the key is too long"};
    if (!key.starts_with(prefix) && key != stray) return {key, "the section's prefix is missing"};
    if (i > 0 && fields[i - 1].key.empty()) return {key, "a field without a key comes before it"};
    if (FieldIndex(fields, key) != i) return {key, "the key stands twice"};
  }
  return {};
}

consteval Finding FaultOf(std::span<const Extension> extensions) {
  for (const auto& [name, paths] : extensions) {
    if (name.size() > longest_name) return {name, "the name is too long"};
    if (name.empty() != paths.empty()) return {name, "a name without a path, or the reverse"};
    if (name.empty()) continue;
    if (std::ranges::count(extensions, name, &Extension::name) > 1) return {name, "a name twice"};
  }
  return {};
}
