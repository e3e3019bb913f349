// SPDX-License-Identifier: MIT
#include "param/rule.h"

#include <algorithm>

namespace {

bool IsForText(const EnumRow& row, const ValueSlots& slots) {
  if (row.use == RowUse::unknown_text) return true;
  if (row.use != RowUse::both && row.use != RowUse::to_section) return false;
  return Slot_Text(slots[0]) == row.text && (!row.second || Slot_Text(slots[1]) == *row.second);
}

bool IsForNumber(const EnumRow& row, int number) {
  if (row.use == RowUse::unknown_number) return true;
  return (row.use == RowUse::both || row.use == RowUse::to_config) && row.number == number;
}

}  // namespace

void Enum_ToSection(const Conversion& conversion) {
  const auto values = conversion.rule.values;
  const auto row = std::ranges::find_if(
      values, [&](const EnumRow& each) { return IsForText(each, conversion.slots); });
  if (row == values.end()) return;
  Field_SetNumber(conversion.field, static_cast<std::uint32_t>(row->number));
}

void Enum_ToConfig(const Conversion& conversion) {
  const auto values = conversion.rule.values;
  const int number = Field_Signed(conversion.field);
  const auto row = std::ranges::find_if(
      values, [number](const EnumRow& each) { return IsForNumber(each, number); });
  if (row == values.end()) return;
  Slot_SetText(conversion.slots[0], row->text);
  if (row->second) Slot_SetText(conversion.slots[1], *row->second);
}

void Text_ToSection(const Conversion& conversion) {
  Field_SetText(conversion.field, Slot_Text(conversion.slots[0]));
}

void Text_ToConfig(const Conversion& conversion) {
  Slot_SetText(conversion.slots[0], Field_Text(conversion.field));
}

void Name_ToSection(const Conversion& conversion) {
  const auto names = conversion.rule.extensions;
  const bool is_given = conversion.number <= names.size();
  Field_SetText(conversion.field,
                is_given ? names[conversion.number - 1].name : std::string_view());
}

void Constant_ToSection(const Conversion& conversion) {
  Field_SetNumber(conversion.field, conversion.rule.constant);
}

std::int32_t Field_Signed(std::span<const std::uint8_t> field) {
  const std::uint32_t value = Field_Number(field);
  if (field.size() == 2) return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
  return static_cast<std::int32_t>(value);  // a byte stands for 0 to 255
}

std::span<std::uint8_t> Sibling(const Conversion& conversion, FieldPlace place) {
  return Section_Field(conversion.record, place.offset, place.size);
}
