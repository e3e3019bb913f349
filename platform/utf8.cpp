// SPDX-License-Identifier: MIT
#include "platform/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

// The sequences: their first byte, their second, and how many bytes they have. The others that one
// could put together are overlong, surrogates, or lie beyond U+10FFFF.
struct Utf8Form {
  std::uint8_t first_from, first_to, second_from, second_to, length;
};
constexpr std::array<Utf8Form, 9> utf8_forms = {{
    {0x00, 0x7F, 0x00, 0x00, 1},
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
}};

}  // namespace

std::size_t Utf8_CharacterSize(std::string_view text) {
  if (text.empty()) return 0;
  const auto first = static_cast<std::uint8_t>(text[0]);
  const auto* form = std::find_if(utf8_forms.begin(), utf8_forms.end(), [first](const auto& each) {
    return first >= each.first_from && first <= each.first_to;
  });
  if (form == utf8_forms.end()) return 0;
  const std::string_view character = text.substr(0, form->length);
  for (std::size_t i = 1; i < character.size(); ++i) {
    const auto byte = static_cast<std::uint8_t>(character[i]);
    if (byte < (i == 1 ? form->second_from : 0x80) || byte > (i == 1 ? form->second_to : 0xBF)) {
      return 0;
    }
  }
  return form->length;
}
