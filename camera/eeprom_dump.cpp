// SPDX-License-Identifier: MIT
// eeprom-dump: an EEPROM image as annotated hex, one line a field. It follows the stored chain as
// the daemon does; what it prints holds every byte of the image ("00*12" is a run of twelve zero
// bytes).
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "param/section_map.h"
#include "platform/file.h"
#include "sections/section.h"

namespace {

struct Range {
  std::size_t from = 0;
  std::size_t to = SIZE_MAX;
};

// What lies past the end of the file reads as an erased chip does.
std::string Bytes(const std::string& image, std::size_t address, std::size_t size) {
  std::string bytes = address < image.size() ? image.substr(address, size) : std::string();
  bytes.resize(size, '\xFF');
  return bytes;
}

std::uint32_t BigEndian(const std::string& bytes) {
  std::uint32_t value = 0;
  for (const char c : bytes) value = (value << 8U) | static_cast<unsigned char>(c);
  return value;
}

// Two digits a byte; a run of at least four equal bytes as "00*4".
std::string Hex(const std::string& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size();) {
    const std::size_t end = std::min(bytes.find_first_not_of(bytes[i], i), bytes.size());
    const std::size_t run = end - i >= 4 ? end - i : 1;
    std::array<char, 16> digits;
    (void)std::snprintf(digits.data(), digits.size(), run > 1 ? "%s%02x*%zu" : "%s%02x",
                        text.empty() ? "" : " ", static_cast<unsigned char>(bytes[i]), run);
    text += digits.data();
    i += run;
  }
  return text;
}

std::string Meaning(const std::string& bytes, FieldKind kind) {
  if (kind != MAP_TEXT) {
    std::uint32_t value = BigEndian(bytes);
    const bool negative = kind == MAP_S16 && value > 0x7FFF;
    return std::to_string(negative ? std::int64_t{value} - 0x10000 : std::int64_t{value});
  }
  std::string text = "\"";
  for (const char c : bytes.substr(0, bytes.find('\0'))) {
    text += std::isprint(static_cast<unsigned char>(c)) != 0 ? c : '.';
  }
  return text + "\"";
}

void PrintField(const std::string& image, Range range, std::size_t address, const Field& field) {
  const auto& [key, format, paths] = field;
  if (address + format.size <= range.from || address >= range.to) return;
  const std::string bytes = Bytes(image, address, format.size);
  const std::string name(key.empty() ? "(no row)" : key);
  const std::string from = paths.empty() ? "" : " <- " + std::string(paths);
  (void)std::printf("%04zx  %-24s %s = %s%s\n", address, name.c_str(), Hex(bytes).c_str(),
                    Meaning(bytes, format.kind).c_str(), from.c_str());
}

void PrintHeader(const std::string& image, Range range, std::size_t address) {
  if (address + SECTION_HEADER_SIZE <= range.from || address >= range.to) return;
  (void)std::printf("\n%04zx  %-24s %s = type %u, version %u, next 0x%04x\n", address, "[header]",
                    Hex(Bytes(image, address, SECTION_HEADER_SIZE)).c_str(),
                    BigEndian(Bytes(image, address, 4)), BigEndian(Bytes(image, address + 4, 1)),
                    BigEndian(Bytes(image, address + 5, 4)));
}

// The fields of the chain's position, as far as the stored type's payload holds them.
void PrintPayload(const std::string& image, Range range, std::size_t address,
                  std::size_t payload_size, std::size_t position) {
  std::size_t offset = 0;
  for (const Field& field : Map_At(position).fields) {
    if (offset + field.format.size > payload_size) return;
    PrintField(image, range, address + offset, field);
    offset += field.format.size;
  }
}

void PrintChain(const std::string& image, Range range) {
  std::set<std::size_t> visited;
  std::size_t address = 0;
  for (std::size_t position = 0; position < chain_sections; ++position) {
    PrintHeader(image, range, address);
    const std::size_t size = Section_PayloadSize(SectionType{BigEndian(Bytes(image, address, 4))});
    if (size > 0) {
      PrintPayload(image, range, address + SECTION_HEADER_SIZE, size, position);
    }
    visited.insert(address);
    address = BigEndian(Bytes(image, address + 5, 4));
    if (address == 0 || visited.contains(address)) return;
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  std::string image;
  if (argc < 2 || argc > 4) {
    (void)std::fputs("usage: eeprom-dump FILE [FROM [COUNT]]\n", stderr);
    return 1;
  }
  if (File_Read(argv[1], image) != 0) {
    (void)std::fprintf(stderr, "eeprom-dump: can't read %s\n", argv[1]);
    return 1;
  }
  Range range;
  if (argc > 2) range.from = std::strtoul(argv[2], nullptr, 0);
  if (argc > 3) range.to = range.from + std::strtoul(argv[3], nullptr, 0);
  PrintChain(image, range);
  return 0;
}
