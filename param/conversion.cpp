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

void StoreByKind(const SectionRules& section, const Conversion& conversion, FieldKind kind) {
  if ((section.to_section & KindBit(kind)) == 0) return;
  if (kind == MAP_TEXT) return Text_ToSection(conversion);
  Field_SetNumber(conversion.field,
                  static_cast<std::uint32_t>(section.number(Slot_Text(conversion.slots[0]))));
}

void RestoreByKind(const SectionRules& section, const Conversion& conversion, FieldKind kind) {
  if ((section.to_config & KindBit(kind)) == 0) return;
  if (kind == MAP_TEXT) return Text_ToConfig(conversion);
  const std::int64_t number = kind == MAP_U16 ? std::int64_t{Field_Number(conversion.field)}
                                              : std::int64_t{Field_Signed(conversion.field)};
  Slot_SetNumber(conversion.slots[0], number);
}

enum class Way : std::uint8_t { to_section, to_config };

int Convert(Way way, ValueSlots& slots, const FieldKey& key, SectionRecord& record,
            std::size_t offset, FieldFormat format) {
  constexpr static FieldRule no_rule = {};
  const SectionRules* section = FindSectionRules(record.type);
  if (section == nullptr) return -1;
  const auto field = Section_Field(record, offset, format.size);
  if (field.empty()) return 0;
  const FieldRule* rule = FindRule(section->rules, key);
  if (rule == nullptr) rule = &no_rule;
  const Conversion conversion = {slots, record, field, *rule, key.number};
  const Converter converter = way == Way::to_section ? rule->to_section : rule->to_config;
  if (converter != nullptr) {
    converter(conversion);
  } else {
    const auto by_kind = way == Way::to_section ? StoreByKind : RestoreByKind;
    by_kind(*section, conversion, format.kind);
  }
  return 0;
}

}  // namespace

int Param_ConfigToSection(ValueSlots& slots, const FieldKey& key, SectionRecord& record,
                          std::size_t offset, FieldFormat format) {
  return Convert(Way::to_section, slots, key, record, offset, format);
}

int Param_SectionToConfig(SectionRecord& record, ValueSlots& slots, const FieldKey& key,
                          std::size_t offset, FieldFormat format) {
  return Convert(Way::to_config, slots, key, record, offset, format);
}

const FieldRule* Param_FindRule(SectionType type, const FieldKey& key) {
  const SectionRules* section = FindSectionRules(type);
  return section == nullptr ? nullptr : FindRule(section->rules, key);
}
