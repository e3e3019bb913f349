// SPDX-License-Identifier: MIT
// An EEPROM's image in memory, and what it says.
#pragma once

#include <string>
#include <vector>

#include "param/section_map.h"
#include "sections/section_record.h"

enum class ImageState : std::uint8_t { blank, test_board, unfinished, filled };

struct StoredSection {
  std::size_t position = 0;  // in the chain
  SectionRecord record;      // as the daemon reads it
  bool is_readable = false;  // else the daemon passes it over, or the bytes end in it
};

// A header, a field of a section that can be read, or what lies between.
struct Range {
  std::size_t address;
  std::size_t size;
  const StoredSection* section = nullptr;  // null: none describes it
  const Field* field = nullptr;            // null: no field
  std::size_t offset = 0;                  // of a field, in the payload
};

struct Image {
  std::string name;                 // of the source
  std::string adapter;              // what it was read through
  std::vector<std::uint8_t> bytes;  // 0xFF behind them
  ImageState state = ImageState::blank;
  std::vector<StoredSection> sections;  // in chain order, as far as the table has sections
  std::vector<Range> ranges;            // in chain order, then those that no section describes
  std::vector<bool> secret;             // of each byte: it is part of a password, or may be
  std::string product;                  // of a filled image
  std::uint32_t time = 0;               // seconds since 1970, of a filled image
};

// Puts bytes on the bus, where the daemon's functions find them. Throws Failure.
void Image_Fit(std::span<const std::uint8_t> bytes);

// Finds out what the bytes are and, unless `secrets` are to be shown, which of them are secret.
// Leaves them on the bus, but no section that is not whole. Throws Failure when they are no image.
void Image_Parse(Image& image, bool secrets);

// How many sections can be read.
std::size_t Image_Count(const Image& image);

// Names on standard error the sections that can't be read, and how many parameters are missing.
// Returns whether there are any.
bool Image_SayWhatIsMissing(const Image& image);

// Whether a byte of a range is secret.
bool Image_Hides(const Image& image, const Range& range);

const char* State_Name(ImageState state);

// The bytes of a field in memory's order: numbers low byte first.
std::span<const std::uint8_t> Field_Bytes(const Range& range);

// The values that a restore hands over for the paths of a field.
ValueSlots Field_Values(const Range& range);

// The key of a field; empty when the table has no row for it.
std::string Field_Key(const Range& range);

// The paths of a field's parameters in the section at a position of the chain.
std::vector<std::string> Field_Paths(std::size_t position, const Field& field);

// What people call the section at a position of the chain ("ssnt"), and what it is about.
const char* Section_Name(std::size_t position);
const char* Section_Content(std::size_t position);

// Whether a section's name is the wanted one, or one of the numbered ones that share it ("stpf");
// every name is for an empty one.
bool IsSection(const std::string& name, std::string_view wanted);
