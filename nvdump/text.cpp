// SPDX-License-Identifier: MIT
#include "nvdump/text.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "platform/utf8.h"

namespace {

bool IsControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  if (character.size() == 1) return first < 0x20 || first == 0x7F;
  return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string escaped;
  while (!text.empty()) {
    const std::size_t size = Utf8_CharacterSize(text);
    const bool is_whole = size > 0 && size <= text.size();
    const std::string_view character = text.substr(0, is_whole ? size : 1);
    if (is_whole && !IsControl(character)) {
      escaped += character;
    } else {
      for (const char c : character) escaped += Format("\\x%02x", static_cast<unsigned char>(c));
    }
    text.remove_prefix(character.size());
  }
  return escaped;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = Utf8_CharacterSize(text);
    if (size == 0) return false;
    text.remove_prefix(std::min(size, text.size()));
  }
  return true;
}

std::string Hex(std::span<const std::uint8_t> bytes) {
  std::string digits;
  for (const std::uint8_t byte : bytes) digits += Format("%02x", byte);
  return digits;
}

std::string HexRuns(std::string_view hex) {
  constexpr std::size_t shortest_run = 4;
  std::string text;
  while (!hex.empty()) {
    const std::string_view byte = hex.substr(0, 2);
    std::size_t run = 1;
    while (hex.substr(2 * run, 2) == byte) ++run;
    if (run < shortest_run) run = 1;
    text += (text.empty() ? "" : " ") + std::string(byte);
    if (run > 1) text += Format("*%zu", run);
    hex.remove_prefix(2 * run);
  }
  return text;
}

std::string Time_Text(std::uint32_t seconds) {
  const std::time_t time = seconds;
  std::tm parts{};
  std::array<char, 32> text{};
  (void)gmtime_r(&time, &parts);
  (void)std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts);
  return text.data();
}

std::string Format(const char* format, ...) {
  std::array<char, 1024> text;
  std::va_list arguments;
  va_start(arguments, format);
  (void)std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  return text.data();
}

// There is nobody to tell when that fails.
void Say(std::string_view text) {
  (void)std::fprintf(stderr, "nvdump: %s\n", Escaped(text).c_str());
}
