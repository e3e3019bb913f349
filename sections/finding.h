// SPDX-License-Identifier: MIT
// What a check of a table has found, said by the compiler.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

// The row that it is about, and what is wrong with it. The compiler shows the text of one that is
// not empty.
struct Finding {
  char text[128]{};  // NOLINT(*-avoid-c-arrays): compilers show this kind of array as a text
  consteval Finding() = default;
  consteval Finding(std::string_view row, std::string_view fault, unsigned number = 0) {
    char* end = std::copy_n(row.begin(), std::min<std::size_t>(row.size(), 60), text);
    if (number > 9) *end++ = static_cast<char>('0' + number / 10 % 10);
    if (number > 0) *end++ = static_cast<char>('0' + number % 10);
    end = std::ranges::copy(std::string_view(": "), end).out;
    std::copy_n(fault.begin(), std::min<std::size_t>(fault.size(), 62), end);
  }
  [[nodiscard]] consteval bool IsNone() const { return text[0] == '\0'; }
};

template <Finding finding>
consteval bool IsSound() {
  static_assert(finding.IsNone(), "a table has a fault: the finding says which row");
  return true;
}
