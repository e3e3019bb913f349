// SPDX-License-Identifier: MIT
// Value slots: the configuration side of a mapping row, one text buffer for each of its paths.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

// At most 127 bytes and a terminator. A text that is cut may be cut inside a UTF-8 sequence.
using ValueSlot = std::array<char, 128>;

// No row has more than three paths.
inline constexpr std::size_t max_row_paths = 3;
using ValueSlots = std::array<ValueSlot, max_row_paths>;

// A dotted path, or the paths of a row.
using PathText = std::array<char, 256>;

inline std::string_view Slot_Text(const ValueSlot& slot) {
  return {slot.data(),
          static_cast<std::size_t>(std::find(slot.begin(), slot.end(), '\0') - slot.begin())};
}

// Replaces the text, cut to what a slot holds; the rest of the slot is zero.
inline void Slot_SetText(ValueSlot& slot, std::string_view text) {
  const std::size_t length = std::min(text.size(), slot.size() - 1);
  std::fill(std::copy_n(text.begin(), length, slot.begin()), slot.end(), '\0');
}

// Formats into a slot or another text buffer as printf(3) does, cut to its size and terminated.
[[gnu::format(printf, 2, 3)]] void Text_Format(std::span<char> text, const char* format, ...);

// A number in decimal.
void Slot_SetNumber(ValueSlot& slot, std::int64_t number);

// The decimal number that a text begins with, as atoi(3) reads it: white space and a sign may come
// first, no digits give 0, and what lies beyond the range of an int counts as the largest or the
// smallest int.
int Text_ToInt(std::string_view text);

// Reads the numbers of a text by a pattern such as "%dx%d" into `numbers`, as sscanf(3) does, and
// returns how many were read.
int Text_ScanInts(std::string_view text, std::string_view pattern, int* numbers);
