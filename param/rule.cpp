// SPDX-License-Identifier: MIT
#include "param/rule.h"

#include <algorithm>

namespace {

bool Matches(const EnumRow& row, const ValueSlots& slots) {
  return row.way != Way::to_config && Slot_Text(slots[0]) == row.text &&
         (row.second == any_text || Slot_Text(slots[1]) == row.second);
}

const EnumRow* FindNumber(const Enumeration& values, int number) {
  const auto row = std::ranges::find_if(values.rows, [number](const EnumRow& each) {
    return each.way != Way::to_section && each.number == number;
  });
  return row == values.rows.end() ? nullptr : &*row;
}

}  // namespace

int Text_ToPlainInt(std::string_view text) { return Text_ToInt(text); }

void Enum_ToSection(const Conversion& conversion) {
  const Enumeration& values = *conversion.rule.values;
  const auto row = std::ranges::find_if(
      values.rows, [&](const EnumRow& each) { return Matches(each, conversion.slots); });
  const std::optional<int> number =
      row == values.rows.end() ? values.unknown_text : std::optional(row->number);
  if (number) Field_SetNumber(conversion.field, static_cast<std::uint32_t>(*number));
}

void Enum_ToConfig(const Conversion& conversion) {
  const Enumeration& values = *conversion.rule.values;
  const EnumRow* row = FindNumber(values, Field_Signed(conversion.field));
  if (row == nullptr && values.unknown_number) row = FindNumber(values, *values.unknown_number);
  if (row == nullptr) return;
  Slot_SetText(conversion.slots[0], row->text);
  if (row->second != any_text) Slot_SetText(conversion.slots[1], row->second);
}

void Text_ToSection(const Conversion& conversion) {
  Field_SetText(conversion.field, Slot_Text(conversion.slots[0]));
}

void Text_ToConfig(const Conversion& conversion) {
  Slot_SetText(conversion.slots[0], Field_Text(conversion.field));
}

void Name_ToSection(const Conversion& conversion) {
  const ExtensionNames names = conversion.rule.names;
  const auto index = static_cast<std::size_t>(conversion.number) - 1;
  if (index < names.size()) Field_SetText(conversion.field, names[index]);
}

void Constant_ToSection(const Conversion& conversion) {
  Field_SetNumber(conversion.field, conversion.rule.constant);
}

void Number_ToSection(const Conversion& conversion) {
  Field_SetNumber(conversion.field,
                  static_cast<std::uint32_t>(Text_ToInt(Slot_Text(conversion.slots[0]))));
}

std::int32_t Field_Signed(std::span<const std::uint8_t> field) {
  const std::uint32_t value = Field_Number(field);
  switch (field.size()) {
    case 2:
      return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
    default:
      return static_cast<std::int32_t>(value);  // a byte stands for 0 to 255
  }
}

std::span<std::uint8_t> Sibling(const Conversion& conversion, std::span<const FieldFormat> fields,
                                std::size_t index) {
  return Section_Field(conversion.record, FieldOffset(fields, index), fields[index].size);
}
