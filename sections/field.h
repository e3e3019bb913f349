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

#include "sections/finding.h"

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

// What the conversion rules know a field by. A key that ends in "_" has a number behind it, from 1
// on: "sssc_username_" and 2 are the key "sssc_username_2".
struct FieldKey {
  std::string_view text;
  std::uint8_t number = 0;  // 0: none
  constexpr FieldKey() = default;
  // Not explicit: most keys in a table are a text alone.
  constexpr FieldKey(const char* key_text, unsigned key_number = 0)
      : text(key_text), number(static_cast<std::uint8_t>(key_number)) {}
  bool operator==(const FieldKey& other) const = default;
};

struct Field {
  FieldKey key;
  FieldFormat format;  // how it lies in the payload
  // The configuration parameters that the field is made of, separated by ","; empty when there are
  // none. "%d" stands for NsIndex, "#" for a stream profile's digit.
  std::string_view paths = {};
};

// A further configuration value of a section, which travels as text beside its short name.
struct Extension {
  std::string_view name;
  std::string_view paths;  // as in Field
};

consteval Finding FaultOf(std::span<const Extension> extensions) {
  for (const auto& [name, paths] : extensions) {
    if (name.size() > longest_name) return {name, "the name is too long"};
    if (name.empty() || paths.empty()) return {name, "a name without a path, or the reverse"};
    if (std::ranges::count(extensions, name, &Extension::name) > 1) return {name, "a name twice"};
  }
  return {};
}

// The fields; behind them `count` of 16 bytes for the names of extensions, which a rule fills in,
// and as many of 64 bytes for their values. What is not given stays empty.
template <std::size_t count, const auto& extensions, std::size_t size>
consteval auto WithExtensions(const std::array<Field, size>& fields, const char* names,
                              const char* values) {
  static_assert(IsSound<FaultOf(extensions)>() && extensions.size() <= count);
  std::array<Field, size + 2 * count> all{};
  auto* name = std::ranges::copy(fields, all.begin()).out;
  for (unsigned i = 0; i < count; ++i, ++name) {
    name[0] = {{names, i + 1}, TextField(16)};
    name[count] = {{values, i + 1}, TextField(64)};
    if (i < extensions.size()) name[count].paths = extensions[i].paths;
  }
  return all;
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
consteval std::size_t FieldIndex(std::span<const Field> fields, const FieldKey& key) {
  const auto field = std::ranges::find(fields, key, &Field::key);
  if (field == fields.end()) no_field_has_this_key();
  return static_cast<std::size_t>(field - fields.begin());
}

consteval FieldPlace PlaceOf(std::span<const Field> fields, const FieldKey& key) {
  const std::size_t index = FieldIndex(fields, key);
  return {FieldOffset(fields, index), fields[index].format.size};
}

// Numbers of their kind's size, and texts in pieces of 4 bytes: what the writer relies on.
consteval bool IsStorable(FieldFormat format) {
  if (format.kind == MAP_TEXT) return format.size % 4 == 0 && format.size > 0;
  if (format.kind == MAP_BYTE) return format.size == 1;
  return format.size == (format.kind == MAP_WORD32 ? 4 : 2);
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

// What is wrong with a row. `stray` is a key that is meant not to begin with the section's prefix.
consteval std::string_view FaultOf(const Field& field, std::string_view prefix,
                                   const FieldKey& stray) {
  const auto& [key, format, paths] = field;
  if (!IsStorable(format)) return "this size and kind can't be stored";
  if (paths.size() > longest_paths) return "the paths are too long";
  if (std::ranges::count(paths, ',') >= most_paths) return "too many paths";
  if (HasIdlePath(paths)) return "a path is empty or stands twice";
  if (key.text.size() + 2 > longest_key) return "the key is too long";
  if (!key.text.starts_with(prefix) && key != stray) return "the section's prefix is missing";
  if (key.text.ends_with('_') != (key.number > 0)) return "a number is missing, or is one too many";
  return {};
}

// The first faulty row.
consteval Finding FaultOf(std::span<const Field> fields, std::string_view prefix,
                          const FieldKey& stray = {}) {
  for (const Field& field : fields) {
    const std::string_view fault = FaultOf(field, prefix, stray);
    if (!fault.empty()) return {field.key.text, fault, field.key.number};
    const bool is_first = &fields[FieldIndex(fields, field.key)] == &field;
    if (!is_first) return {field.key.text, "the key stands twice", field.key.number};
  }
  return {};
}
