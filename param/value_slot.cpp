// SPDX-License-Identifier: MIT
#include "param/value_slot.h"

#include <charconv>
#include <limits>

namespace {

constexpr bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

void Slot_SetNumber(ValueSlot& slot, std::int64_t number) {
  slot.fill('\0');
  (void)std::to_chars(slot.data(), slot.data() + slot.size() - 1, number);  // 20 characters at most
}

int Text_ToInt(std::string_view text, std::string_view* rest) {
  constexpr std::int64_t largest = std::numeric_limits<int>::max();
  constexpr std::int64_t smallest = std::numeric_limits<int>::min();
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const bool has_digits = !text.empty() && IsDigit(text.front());

  std::int64_t value = 0;
  for (; !text.empty() && IsDigit(text.front()); text.remove_prefix(1)) {
    value = std::min(value * 10 + (text.front() - '0'), largest + 1);
  }
  if (rest != nullptr && has_digits) *rest = text;
  return static_cast<int>(std::clamp(negative ? -value : value, smallest, largest));
}

int Text_ScanInts(std::string_view text, std::string_view pattern, int* numbers) {
  int count = 0;
  while (!pattern.empty()) {
    if (pattern.starts_with("%d")) {
      std::string_view rest = text;
      numbers[count] = Text_ToInt(text, &rest);
      if (rest.size() == text.size()) break;
      ++count;
      text = rest;
      pattern.remove_prefix(2);
    } else {
      if (text.empty() || text.front() != pattern.front()) break;
      text.remove_prefix(1);
      pattern.remove_prefix(1);
    }
  }
  return count;
}
