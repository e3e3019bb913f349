// SPDX-License-Identifier: MIT
// Conversion rules: what a field's key does to its value on the way into a section and back. A rule
// is a row of its section type's table; a field without a rule converts by its kind alone.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "param/value_slot.h"
#include "sections/field.h"
#include "sections/section_record.h"

struct FieldRule;

// One field on its way in either direction.
struct Conversion {
  ValueSlots& slots;              // the configuration's side
  SectionRecord& record;          // the section that the field belongs to
  std::span<std::uint8_t> field;  // inside the record's payload, never empty
  const FieldRule& rule;          // the one that is being followed
  unsigned number;                // behind the field's key, from 1 on; else 0
};
using Converter = void (*)(const Conversion& conversion);

// What a row of an enumeration is there for.
enum class RowUse : std::uint8_t {
  both,
  to_section,
  to_config,
  unknown_text,    // the number that is stored for a text in no row; else the field stays
  unknown_number,  // the text that is restored for a number in no row; else the slots stay empty
};

// A stored number and the text of the first path, for rows of two paths also that of the second.
// The first row that matches counts.
struct EnumRow {
  int number;                                             // what the field holds
  std::string_view text;                                  // what the first slot holds
  std::optional<std::string_view> second = std::nullopt;  // none: not looked at, not restored
  RowUse use = RowUse::both;
};

struct FieldRule {
  FieldKey key;                    // one without its number is every number's
  Converter to_section = nullptr;  // null: by the field's kind
  Converter to_config = nullptr;
  std::span<const EnumRow> values = {};        // for Enum_...
  std::span<const Extension> extensions = {};  // for Name_ToSection
  std::uint32_t constant = 0;                  // for Constant_ToSection
  std::int32_t numbers = 0;     // own converters store 0 up to below this; 0: any number
  std::string_view owner = {};  // for the recording rules
};

// The kinds that a section type converts without a rule, a bit each. Flags and enumerations, bytes,
// always have a rule.
using KindSet = unsigned;
constexpr KindSet KindBit(FieldKind kind) { return 1U << static_cast<unsigned>(kind); }
inline constexpr KindSet no_kinds = 0;
inline constexpr KindSet text_and_u16 = KindBit(MAP_TEXT) | KindBit(MAP_U16);
inline constexpr KindSet text_and_16_bit = text_and_u16 | KindBit(MAP_S16);
inline constexpr KindSet all_kinds = text_and_16_bit | KindBit(MAP_WORD32);

struct SectionRules {
  SectionType type;                      // whose fields they are about
  std::span<const FieldRule> rules;      // the first that fits a key counts
  KindSet to_section;                    // what needs no rule
  KindSet to_config;                     // and on the way back
  int (*number)(std::string_view text);  // how a number without a rule is read
};

// Converters that more than one section type uses.
void Enum_ToSection(const Conversion& conversion);
void Enum_ToConfig(const Conversion& conversion);
void Text_ToSection(const Conversion& conversion);  // slot 0
void Text_ToConfig(const Conversion& conversion);
void Name_ToSection(const Conversion& conversion);
void Constant_ToSection(const Conversion& conversion);  // whatever the configuration says

// The number in a field, two's complement.
std::int32_t Field_Signed(std::span<const std::uint8_t> field);

// Another field of the same section; nothing when the payload at hand does not hold it.
std::span<std::uint8_t> Sibling(const Conversion& conversion, FieldPlace place);

// The rule that a key follows: the first that fits; null when there is none.
constexpr const FieldRule* FindRule(std::span<const FieldRule> rules, const FieldKey& key) {
  const auto rule = std::ranges::find_if(rules, [key](const FieldRule& each) {
    return each.key.text == key.text && (each.key.number == 0 || each.key.number == key.number);
  });
  return rule == rules.end() ? nullptr : &*rule;
}

// One table for each section type, in the files that are named after them.
extern const SectionRules ssdt_rules, sssc_rules, ssnt_rules;  // system_rules.cpp
extern const SectionRules lvim_rules;                          // image_rules.cpp
extern const SectionRules lvln_rules, lvad_rules, lvdn_rules;  // device_rules.cpp
extern const SectionRules stpf_rules;                          // stream_rules.cpp
extern const SectionRules srin_rules, srex_rules;              // recording_rules.cpp
