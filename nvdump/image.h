// SPDX-License-Identifier: MIT
// An EEPROM's image in memory, and what it says.
#pragma once

#include <string>
#include <vector>

#include "param/section_map.h"
#include "sections/chain.h"
#include "sections/section_record.h"

enum class ImageState : std::uint8_t { blank, test_board, unfinished, filled };

struct StoredSection {
  std::size_t position = 0;  // in the chain
  SectionRecord record;      // as the daemon reads it
  bool is_readable = false;  // else the daemon passes it over
  bool is_secret = false;    // its header's bytes are part of a password
};

struct Image {
  std::string name;                 // of the source
  std::string adapter;              // what it was read through
  std::vector<std::uint8_t> bytes;  // 0xFF behind them
  ImageState state = ImageState::blank;
  std::vector<StoredSection> sections;  // in chain order, one behind the table's last at the most
  ChainStep end = ChainStep::end;       // how the chain ends
  std::string product;                  // of a filled image
  std::uint32_t time = 0;               // seconds since 1970, of a filled image
};

// A field of a section that the daemon reads.
struct StoredField {
  const StoredSection* section;
  const Field* field;
  std::size_t offset;     // in the payload
  std::uint32_t address;  // in the EEPROM
  bool is_secret;
};

// A configuration parameter with what a restore hands over for it; "%d" in its path stands for the
// network storage's index.
struct StoredParameter {
  std::string path;
  std::string value;   // empty: none
  StoredField source;  // of the value, or the first one that could have one
  bool is_secret;
};

// Its bytes in memory's order: numbers low byte first.
std::span<const std::uint8_t> Field_Bytes(const StoredField& stored);

// Its key; empty when the table has no row for it. Its paths, separated by ",".
std::string Key_Text(const StoredField& stored);
std::string Key_Text(const FieldKey& key);
PathText Paths_Text(const StoredField& stored);

// The values that a restore hands over for its paths.
ValueSlots Field_Values(const StoredField& stored);

const char* State_Name(ImageState state);

// Finds out what the bytes are.
void Image_Parse(Image& image);

// Puts the image on the bus, where the daemon's functions find it.
void Image_Fit(const Image& image);

// What stands at an address, 0xFF behind the image's end.
std::vector<std::uint8_t> Image_Bytes(const Image& image, std::size_t address, std::size_t size);

// All in chain order; a parameter where its first field is.
std::vector<StoredField> Image_Fields(const Image& image);
std::vector<StoredParameter> Image_Parameters(const Image& image);

// Whether a configuration parameter holds a password.
bool IsSecretPath(std::string_view path);

// Whether a path of the table, with its "%d", is that parameter.
bool IsPath(std::string_view table_path, const std::string& path);

// Whether a shell pattern fits a path of the table, with any number for its "%d".
bool FitsPattern(const std::string& table_path, const std::string& pattern);

// "ssnt", "stpf0"; a number for what lies behind the table.
std::string SectionName_At(std::size_t position);

// Where the section of a position lies in an image.
std::uint32_t SectionAddress_At(std::size_t position);

// Whether a section's name is the wanted one, or one of the numbered ones that share it ("stpf");
// every name is for an empty one.
bool IsSection(const std::string& name, std::string_view wanted);
