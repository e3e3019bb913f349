// SPDX-License-Identifier: MIT
// Texts put together by the compiler, for tables whose rows differ only in a number.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

template <std::size_t size>
struct Literal {
  std::array<char, size> text{};  // with its terminator
  consteval Literal(const char (&literal)[size]) {
    std::copy(std::begin(literal), std::end(literal), text.begin());
  }
  consteval explicit Literal(const std::array<char, size>& characters) : text(characters) {}
};

template <Literal... parts>
struct JoinedText {
  static constexpr auto storage = [] {
    std::array<char, ((parts.text.size() - 1) + ... + 1)> joined{};
    auto* end = joined.begin();
    ((end = std::copy(parts.text.begin(), parts.text.end() - 1, end)), ...);
    return joined;
  }();
};

// The parts in a row, as one text in static storage.
template <Literal... parts>
inline constexpr std::string_view joined{JoinedText<parts...>::storage.data(),
                                         JoinedText<parts...>::storage.size() - 1};

// A number from 0 to 99 in decimal.
template <std::size_t number>
consteval auto DecimalLiteral() {
  static_assert(number < 100);
  if constexpr (number < 10) {
    return Literal<2>(std::array<char, 2>{'0' + number, '\0'});
  } else {
    return Literal<3>(std::array<char, 3>{'0' + number / 10, '0' + number % 10, '\0'});
  }
}

// What a check of a table has found, with the row that it is about. The compiler shows the text of
// one that is not empty.
struct Finding {
  char text[128]{};  // NOLINT(*-avoid-c-arrays): compilers show this kind of array as a text
  consteval Finding() = default;
  consteval Finding(std::string_view row, std::string_view fault) {
    char* end = std::copy_n(row.begin(), std::min<std::size_t>(row.size(), 63), text);
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
