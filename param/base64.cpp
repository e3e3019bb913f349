// SPDX-License-Identifier: MIT
#include "param/base64.h"

#include <algorithm>

namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t groups_in_a_line = 18;
constexpr std::uint32_t not_a_digit = 64;

// The decoder's alphabet ends in "-" where the encoder's has "/".
std::uint32_t DigitValue(char c) {
  if (c == '-') return 63;
  if (c == '/') return not_a_digit;
  const std::size_t index = alphabet.find(c);
  return index == std::string_view::npos ? not_a_digit : static_cast<std::uint32_t>(index);
}

}  // namespace

std::size_t Param_Base64Encode(std::span<const std::uint8_t> input, std::span<char> output) {
  std::size_t length = 0;
  const auto put = [&](char c) {
    if (length + 1 < output.size()) output[length++] = c;
  };
  for (std::size_t group = 1; !input.empty(); ++group) {
    const std::size_t count = std::min<std::size_t>(input.size(), 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) bits = (bits << 8U) | (i < count ? input[i] : 0U);
    for (std::size_t i = 0; i < 4; ++i) {
      put(i <= count ? alphabet[(bits >> (18 - 6 * i)) & 63U] : '=');
    }
    if (count == 3 && group % groups_in_a_line == 0) put('\n');
    input = input.subspan(count);
  }
  if (!output.empty()) output[length] = '\0';
  return length;
}

std::size_t Param_Base64Decode(std::span<char> output, std::string_view input) {
  std::size_t length = 0;
  std::uint32_t bits = 0;
  unsigned held = 0;
  for (const char c : input) {
    const std::uint32_t digit = DigitValue(c);
    if (digit == not_a_digit) continue;
    bits = ((bits << 6U) | digit) & 0xFFFFU;  // never more than 13 bits are held
    held += 6;
    if (held < 8) continue;
    held -= 8;
    if (length < output.size()) output[length++] = static_cast<char>((bits >> held) & 0xFFU);
  }
  if (length < output.size()) output[length++] = '\0';
  return length;
}
