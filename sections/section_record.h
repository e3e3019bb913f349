// SPDX-License-Identifier: MIT
// The in-memory section record that every section operation passes around, and the bytes of its
// payload. Numbers lie in the payload low byte first on every host; fields are packed, so they are
// only ever touched bytewise.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// What a section holds, as its header says it; a number from the EEPROM may be any other.
enum class SectionType : std::uint32_t {
  none = 0,
  ssdt = 1,                     // date and time
  sssc = 2,                     // users
  ssnt = 3,                     // network
  lvim = 4,                     // image
  lvln = 5,                     // lens
  lvad = 6,                     // audio
  lvdn = 7,                     // day/night switching and infrared
  stpf = 8,                     // stream profile
  srin = 9,                     // recording to the memory card
  srex = 10,                    // recording to network storage
  identification = 0x5350524B,  // the bytes 53 50 52 4B in ascending addresses
  end_of_map = 0xFFFFFFFF,
};

inline constexpr std::uint32_t section_version = 1;

struct SectionRecord {
  SectionType type = SectionType::none;
  std::uint32_t version = 0;       // only the low byte is stored
  std::uint32_t address = 0;       // of the section's header in the EEPROM
  std::vector<std::uint8_t> data;  // the payload; empty when there is none
  std::uint32_t next_address = 0;  // of the next section's header; 0 ends the chain
};

// The bytes of a field, or nothing when it does not lie wholly inside the payload.
inline std::span<std::uint8_t> Section_Field(SectionRecord& record, std::size_t offset,
                                             std::size_t size) {
  if (size > record.data.size() || offset > record.data.size() - size) return {};
  return std::span(record.data).subspan(offset, size);
}

inline std::span<const std::uint8_t> Section_Field(const SectionRecord& record, std::size_t offset,
                                                   std::size_t size) {
  if (size > record.data.size() || offset > record.data.size() - size) return {};
  return std::span(record.data).subspan(offset, size);
}

// A number of at most 4 bytes, low byte first.
inline std::uint32_t Field_Number(std::span<const std::uint8_t> field) {
  std::uint32_t value = 0;
  for (std::size_t i = std::min<std::size_t>(field.size(), 4); i-- > 0;) {
    value = (value << 8U) | field[i];
  }
  return value;
}

// Stores the low bytes of a number, as many as the field has.
inline void Field_SetNumber(std::span<std::uint8_t> field, std::uint32_t value) {
  for (std::uint8_t& byte : field) {
    byte = static_cast<std::uint8_t>(value & 0xFFU);
    value >>= 8U;
  }
}

// The text in a field, which may lack its terminator.
inline std::string_view Field_Text(std::span<const std::uint8_t> field) {
  const auto end = std::find(field.begin(), field.end(), 0);
  return {reinterpret_cast<const char*>(field.data()),
          static_cast<std::size_t>(end - field.begin())};
}

// Fills a field with a text, cut to the field's size minus one; the rest is zero.
inline void Field_SetText(std::span<std::uint8_t> field, std::string_view text) {
  if (field.empty()) return;
  const std::size_t length = std::min(text.size(), field.size() - 1);
  const auto rest = std::copy_n(text.begin(), length, field.begin());
  std::fill(rest, field.end(), std::uint8_t{0});
}
