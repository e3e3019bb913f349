// SPDX-License-Identifier: MIT
// How the rule tables are written: one short line a rule, checked by the compiler.
#pragma once

#include "param/rule.h"

consteval EnumRow UnknownText(int number) {
  return {.number = number, .text = {}, .use = RowUse::unknown_text};
}

consteval EnumRow UnknownNumber(std::string_view text,
                                std::optional<std::string_view> second = std::nullopt) {
  return {.number = 0, .text = text, .second = second, .use = RowUse::unknown_number};
}

// Enumerations that more than one section type has.
inline constexpr std::array on_off = {EnumRow{1, "on"}, EnumRow{0, "off"}, UnknownText(0),
                                      UnknownNumber("off")};
inline constexpr std::array if_automatic = {EnumRow{1, "auto"}, UnknownText(0)};

// Whether a row of an enumeration is never reached, because an earlier one has its text or its
// number.
consteval bool HidesText(const EnumRow& earlier, const EnumRow& row) {
  using enum RowUse;
  if (row.use == to_config || row.use == unknown_number) return false;
  if (earlier.use == unknown_text) return true;
  if (earlier.use != both && earlier.use != to_section) return false;
  return row.use != unknown_text && earlier.text == row.text &&
         (!earlier.second || earlier.second == row.second);
}

consteval bool HidesNumber(const EnumRow& earlier, const EnumRow& row) {
  using enum RowUse;
  if (row.use == to_section || row.use == unknown_text) return false;
  if (earlier.use == unknown_number) return true;
  if (earlier.use != both && earlier.use != to_config) return false;
  return row.use != unknown_number && earlier.number == row.number;
}

// The rules. A key that ends in "_" without a number stands for every number.
consteval FieldRule Enum(const FieldKey& key, std::span<const EnumRow> values) {
  return {.key = key, .to_section = Enum_ToSection, .to_config = Enum_ToConfig, .values = values};
}

consteval FieldRule Names(const FieldKey& key, std::span<const Extension> extensions) {
  return {.key = key, .to_section = Name_ToSection, .extensions = extensions};
}

consteval FieldRule Constant(const FieldKey& key, std::uint32_t constant) {
  return {.key = key, .to_section = Constant_ToSection, .constant = constant};
}

// A rule with converters of its own; null: by the field's kind.
consteval FieldRule Own(const FieldKey& key, Converter to_section, Converter to_config) {
  return {.key = key, .to_section = to_section, .to_config = to_config};
}

consteval bool HasHiddenRow(std::span<const EnumRow> values) {
  for (std::size_t i = 1; i < values.size(); ++i) {
    for (const EnumRow& earlier : values.first(i)) {
      if (HidesText(earlier, values[i]) || HidesNumber(earlier, values[i])) return true;
    }
  }
  return false;
}

consteval Finding FaultOf(const FieldRule& rule, std::span<const FieldRule> rules,
                          std::span<const Field> fields) {
  const auto& [text, number] = rule.key;
  if (HasHiddenRow(rule.values)) return {text, "a text or a number stands twice", number};
  const bool is_followed = std::ranges::any_of(
      fields, [&](const Field& field) { return FindRule(rules, field.key) == &rule; });
  return is_followed ? Finding() : Finding(text, "no field follows this rule", number);
}

// A rule says what a flag means, and which part of a parameter each of its fields holds.
consteval Finding FaultOf(const Field& field, std::span<const FieldRule> rules,
                          std::span<const Field> fields) {
  const auto& [text, number] = field.key;
  if (const FieldRule* rule = FindRule(rules, field.key)) {
    const bool numbers_a_text = field.format.kind == MAP_TEXT && !rule->values.empty();
    return numbers_a_text ? Finding(text, "a text holds no number", number) : Finding();
  }
  if (field.paths.empty()) return {};
  if (field.format.kind == MAP_BYTE) return {text, "a byte needs a rule", number};
  const bool shares_paths = std::ranges::any_of(fields, [&](const Field& other) {
    return &other != &field && other.paths == field.paths && FindRule(rules, other.key) == nullptr;
  });
  if (!shares_paths) return {};
  return {text, "another field without a rule has its path", number};
}

// What is wrong between a rule table and its section's fields.
consteval Finding FaultOf(std::span<const FieldRule> rules, std::span<const Field> fields) {
  for (const FieldRule& rule : rules) {
    if (const Finding fault = FaultOf(rule, rules, fields); !fault.IsNone()) return fault;
  }
  for (const Field& field : fields) {
    if (const Finding fault = FaultOf(field, rules, fields); !fault.IsNone()) return fault;
  }
  return {};
}
