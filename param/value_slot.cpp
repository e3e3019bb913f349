// SPDX-License-Identifier: MIT
#include "param/value_slot.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <optional>
#include <system_error>

namespace {

constexpr bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Takes the number that a text begins with off it; nothing, and the text as it was, when there is
// none.
std::optional<int> ReadInt(std::string_view& text) {
  const auto begin = std::ranges::find_if_not(text, IsSpace);
  std::string_view number(begin, text.end());
  if (number.starts_with('+') && !number.starts_with("+-")) number.remove_prefix(1);
  int value = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error == std::errc::invalid_argument) return std::nullopt;
  if (error == std::errc::result_out_of_range) {
    using Limits = std::numeric_limits<int>;
    value = number.starts_with('-') ? Limits::min() : Limits::max();
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return value;
}

}  // namespace

void Text_Format(std::span<char> text, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  (void)std::vsnprintf(text.data(), text.size(), format, arguments);  // what does not fit is cut
  va_end(arguments);
}

void Slot_SetNumber(ValueSlot& slot, std::int64_t number) {
  slot.fill('\0');
  (void)std::to_chars(slot.data(), slot.data() + slot.size() - 1, number);  // 20 characters at most
}

int Text_ToInt(std::string_view text) { return ReadInt(text).value_or(0); }

int Text_ScanInts(std::string_view text, std::string_view pattern, int* numbers) {
  int count = 0;
  while (!pattern.empty()) {
    if (pattern.starts_with("%d")) {
      const std::optional<int> number = ReadInt(text);
      if (!number) break;
      numbers[count++] = *number;
      pattern.remove_prefix(2);
    } else {
      if (text.empty() || text.front() != pattern.front()) break;
      text.remove_prefix(1);
      pattern.remove_prefix(1);
    }
  }
  return count;
}
