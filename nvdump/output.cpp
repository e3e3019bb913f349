// SPDX-License-Identifier: MIT
#include "nvdump/output.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "nvdump/text.h"

namespace {

bool IsTerminal() { return isatty(STDOUT_FILENO) != 0; }

// What people see as the text's width.
std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

std::vector<std::size_t> ColumnWidths(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
  }
  return widths;
}

}  // namespace

std::string TableText(const std::vector<std::vector<std::string>>& rows) {
  const std::vector<std::size_t> widths = ColumnWidths(rows);
  std::string text;
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      text += row[i];
      if (i + 1 == row.size()) break;
      text += IsTerminal() ? std::string(widths[i] - Width(row[i]) + 2, ' ') : "\t";
    }
    text += '\n';
  }
  return text;
}

std::string Painted(Colour colour, const std::string& text) {
  const char* no_color = std::getenv("NO_COLOR");
  if (!IsTerminal() || (no_color != nullptr && *no_color != '\0')) return text;
  return Format("\x1B[%dm", static_cast<int>(colour)) + text + "\x1B[0m";
}

std::string Quoted(std::string_view value, bool is_shown) {
  return is_shown ? "\"" + Escaped(value) + "\"" : hidden;
}

// There is nobody to tell when that fails.
void Say(const std::string& text) { (void)std::fprintf(stderr, "nvdump: %s\n", text.c_str()); }
