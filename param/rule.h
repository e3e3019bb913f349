// SPDX-License-Identifier: MIT
// Conversion rules: what a field's key does to its value on the way into a section and back. A rule
// is a row of its section type's table; a field without a rule converts by its kind alone.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "param/section_map.h"
#include "param/value_slot.h"
#include "sections/section_record.h"

struct FieldRule;

// One field on its way in either direction.
struct Conversion {
  ValueSlots& slots;
  SectionRecord& record;
  std::span<std::uint8_t> field;  // inside the record's payload, never empty
  const FieldRule& rule;
  int number;  // N of a numbered key, else 0
};
using Converter = void (*)(const Conversion& conversion);

enum class Way : std::uint8_t { both, to_section, to_config };

inline constexpr std::string_view any_text = "\xFF";  // a mark, not a value

// A stored number and the text of the first path, for rows of two paths also that of the second.
struct EnumRow {
  int number;
  std::string_view text;
  std::string_view second = any_text;  // any_text: not looked at, and not restored
  Way way = Way::both;
};

struct Enumeration {
  std::span<const EnumRow> rows;           // the first match counts
  std::optional<int> unknown_text = {};    // stored for a text in no row; else the field stays
  std::optional<int> unknown_number = {};  // a number in no row is restored as this one; else the
                                           // slots stay empty
};

struct FieldRule {
  // The whole key; one that ends in "%d" stands for every key with a number in that place.
  std::string_view key;
  Converter to_section = nullptr;  // null: by the field's kind
  Converter to_config = nullptr;
  const Enumeration* values = nullptr;  // for Enum_...
  ExtensionNames names = {};            // for Name_ToSection
  std::uint32_t constant = 0;           // for Constant_ToSection
  std::string_view owner = {};          // for the recording rules
};

// The kinds that a section type converts without a rule.
struct KindSet {
  bool text = false;
  bool u16 = false;
  bool s16 = false;
  bool word32 = false;
};

struct SectionRules {
  std::uint32_t type;
  std::span<const FieldRule> rules;
  KindSet to_section;
  KindSet to_config;
  int (*number)(std::string_view text);  // how a number without a rule is read
};

inline constexpr KindSet no_kinds = {};
inline constexpr KindSet text_and_u16 = {.text = true, .u16 = true};
inline constexpr KindSet text_and_16_bit = {.text = true, .u16 = true, .s16 = true};
inline constexpr KindSet all_kinds = {.text = true, .u16 = true, .s16 = true, .word32 = true};

int Text_ToPlainInt(std::string_view text);

// Converters that more than one section type uses.
void Enum_ToSection(const Conversion& conversion);
void Enum_ToConfig(const Conversion& conversion);
void Text_ToSection(const Conversion& conversion);  // slot 0
void Text_ToConfig(const Conversion& conversion);
void Name_ToSection(const Conversion& conversion);
void Constant_ToSection(const Conversion& conversion);  // whatever the configuration says
void Number_ToSection(const Conversion& conversion);    // slot 0 in decimal, the low bits kept

// The number in a field, two's complement.
std::int32_t Field_Signed(std::span<const std::uint8_t> field);

// The field of another row of the same section.
std::span<std::uint8_t> Sibling(const Conversion& conversion, std::span<const FieldFormat> fields,
                                std::size_t index);

// One table for each section type, in the files that are named after them.
extern const SectionRules ssdt_rules, sssc_rules, ssnt_rules;  // system_rules.cpp
extern const SectionRules lvim_rules;                          // image_rules.cpp
extern const SectionRules lvln_rules, lvad_rules, lvdn_rules;  // device_rules.cpp
extern const SectionRules stpf_rules;                          // stream_rules.cpp
extern const SectionRules srin_rules, srex_rules;              // recording_rules.cpp
