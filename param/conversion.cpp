// SPDX-License-Identifier: MIT
#include "param/conversion.h"

#include <algorithm>
#include <array>

#include "daemon/log.h"
#include "param/rule.h"

namespace {

constexpr std::array section_rules = {&ssdt_rules, &sssc_rules, &ssnt_rules, &lvim_rules,
                                      &lvln_rules, &lvad_rules, &lvdn_rules, &stpf_rules,
                                      &srin_rules, &srex_rules};

const SectionRules* FindSectionRules(SectionType type) {
  const auto* found = std::ranges::find(section_rules, type, &SectionRules::type);
  if (found != section_rules.end()) return *found;
  Nv_Print("No support section type %d\n", static_cast<int>(type));
  return nullptr;
}

struct RuleMatch {
  const FieldRule* rule = nullptr;
  int number = 0;
};

RuleMatch FindRule(const SectionRules& section, std::string_view key) {
  const auto rule = std::ranges::find_if(
      section.rules, [key](const FieldRule& each) { return IsAbout(each, key); });
  if (rule == section.rules.end()) return {};
  if (!rule->key.ends_with(key_number)) return {&*rule, 0};
  return {&*rule, Text_ToInt(key.substr(rule->key.size() - key_number.size()))};
}

bool Contains(KindSet kinds, FieldKind kind) {
  switch (kind) {
    case MAP_TEXT:
      return kinds.text;
    case MAP_U16:
      return kinds.u16;
    case MAP_S16:
      return kinds.s16;
    case MAP_WORD32:
      return kinds.word32;
    case MAP_BYTE:
      return false;  // flags and enumerations always have a rule
  }
  return false;
}

void StoreByKind(const SectionRules& section, const Conversion& conversion, FieldKind kind) {
  if (!Contains(section.to_section, kind)) return;
  if (kind == MAP_TEXT) return Text_ToSection(conversion);
  Field_SetNumber(conversion.field,
                  static_cast<std::uint32_t>(section.number(Slot_Text(conversion.slots[0]))));
}

void RestoreByKind(const SectionRules& section, const Conversion& conversion, FieldKind kind) {
  if (!Contains(section.to_config, kind)) return;
  if (kind == MAP_TEXT) return Text_ToConfig(conversion);
  const std::int64_t number = kind == MAP_U16 ? std::int64_t{Field_Number(conversion.field)}
                                              : std::int64_t{Field_Signed(conversion.field)};
  Slot_SetNumber(conversion.slots[0], number);
}

const FieldRule& RuleOf(SectionType type, std::string_view key) {
  constexpr static FieldRule no_rule = {};
  const SectionRules* section = FindSectionRules(type);
  const FieldRule* rule = section == nullptr ? nullptr : FindRule(*section, key).rule;
  return rule == nullptr ? no_rule : *rule;
}

bool Holds(const EnumRow& row, std::int32_t number) {
  return row.use != RowUse::unknown_number && row.number == number;
}

enum class Way : std::uint8_t { to_section, to_config };

int Convert(Way way, ValueSlots& slots, std::string_view key, SectionRecord& record,
            std::size_t offset, FieldFormat format) {
  constexpr static FieldRule no_rule = {};
  const SectionRules* section = FindSectionRules(record.type);
  if (section == nullptr) return -1;
  const auto field = Section_Field(record, offset, format.size);
  if (field.empty()) return 0;
  const auto [rule, number] = FindRule(*section, key);
  const Conversion conversion = {slots, record, field, rule != nullptr ? *rule : no_rule, number};
  const Converter converter =
      way == Way::to_section ? conversion.rule.to_section : conversion.rule.to_config;
  if (converter != nullptr) {
    converter(conversion);
  } else {
    const auto by_kind = way == Way::to_section ? StoreByKind : RestoreByKind;
    by_kind(*section, conversion, format.kind);
  }
  return 0;
}

}  // namespace

int Param_ConfigToSection(ValueSlots& slots, std::string_view key, SectionRecord& record,
                          std::size_t offset, FieldFormat format) {
  return Convert(Way::to_section, slots, key, record, offset, format);
}

int Param_SectionToConfig(SectionRecord& record, ValueSlots& slots, std::string_view key,
                          std::size_t offset, FieldFormat format) {
  return Convert(Way::to_config, slots, key, record, offset, format);
}

std::span<const EnumRow> Param_Enumeration(SectionType type, std::string_view key) {
  return RuleOf(type, key).values;
}

bool Param_KnowsNumber(SectionType type, std::string_view key, std::int32_t number) {
  const FieldRule& rule = RuleOf(type, key);
  if (rule.numbers > 0) return number >= 0 && number < rule.numbers;
  if (rule.values.empty()) return true;
  if (std::ranges::any_of(rule.values, [=](const EnumRow& row) { return Holds(row, number); })) {
    return true;
  }
  // A text in no row leaves the field as it was: 0.
  return number == 0 &&
         std::ranges::find(rule.values, RowUse::unknown_text, &EnumRow::use) == rule.values.end();
}
