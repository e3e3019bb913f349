// SPDX-License-Identifier: MIT
// What nvdump's files share: texts, the image, the command line's words, the rows of an answer, the
// daemon's own start.
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <stdexcept>

#include "param/section_map.h"

// --- texts (look.cpp) ---
// What was asked for can't be done; the text says why.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline constexpr const char* hidden = "********";  // stands for a password

// Control characters and bytes that are no UTF-8 as "\x1b", so that a text can't speak to the
// terminal.
std::string Escaped(std::string_view text);

// A number of at most `most`, decimal or behind "0x" hexadecimal. Throws Failure for any other
// text.
std::size_t Number(const std::string& text, std::size_t most);

// printf(3) into a text of at most 1023 bytes.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);

// A line on standard error, escaped.
void Say(std::string_view text);

// --- the command line (main.cpp) ---
// The options by name, as they are when they are not given.
struct Options {
  std::string command;
  std::vector<std::string> operands;  // an optional first one that is not given is empty
  std::map<std::string, bool> flags = {{"all", false},     {"anyway", false}, {"force", false},
                                       {"hex", false},     {"json", false},   {"long", false},
                                       {"secrets", false}, {"strict", false}};
  std::map<std::string, std::string> words = {
      {"config", ""}, {"count", "0x10000"}, {"device", ""},
      {"from", "0"},  {"output", ""},       {"section", ""},
      {"size", "0"},  {"source", ""},       {"templates", "/opt/template"},
      {"time", ""}};
};

inline constexpr int exit_fine = 0;   // also: equal, found
inline constexpr int exit_finds = 1;  // differences, findings, not stored, not readable
inline constexpr int exit_fails = 2;

// Appends its output to `out` and returns the exit status, or throws Failure.
using Command = int(const Options& options, std::string& out);
Command Info, List, Get, Map, Verify, Diff;  // look.cpp, verify.cpp
Command Build, Extract, Dump;                // make.cpp

// --- an EEPROM's image in memory (image.cpp) ---
enum class ImageState : std::uint8_t { blank, test_board, unfinished, filled };

// A header, a field of a section that can be read, or what lies between.
struct Range {
  std::size_t address;
  std::size_t size;
  std::size_t position = 0;                // in the chain
  const SectionRecord* section = nullptr;  // null: none describes it
  const Field* field = nullptr;            // null: no field
  std::size_t offset = 0;                  // of a field, in the payload
};

struct Image {
  std::string name;                 // of the source
  std::string adapter;              // what it was read through
  std::vector<std::uint8_t> bytes;  // 0xFF behind them
  ImageState state = ImageState::blank;
  // In chain order, as the daemon reads them. One that it passes over, or that is not wholly there,
  // has no payload.
  std::vector<SectionRecord> sections;
  std::vector<Range> ranges;         // in chain order, then those that no section describes
  std::vector<std::uint8_t> secret;  // of each byte: 1 if it is part of a password, or may be
  std::string product;               // of a filled image
  std::uint32_t time = 0;            // seconds since 1970, of a filled image
};

// Opens the image that an operand stands for: a file with the chip's bytes, "-" for standard input,
// a configuration, a device; the empty one is the options' device. Throws Failure.
Image Source_Open(const Options& options, const std::string& operand);

// Reads a file, or for "-" standard input, no further than an image or a configuration goes. Throws
// Failure.
std::string Source_Read(const std::string& name);

// Puts bytes on the bus, where the daemon's functions find them. Throws Failure.
void Image_Fit(std::span<const std::uint8_t> bytes);

// Finds out what the bytes are and, unless `secrets` are to be shown, which of them are secret.
// Leaves them on the bus, but no section that is not whole. Throws Failure when they are no image.
void Image_Parse(Image& image, bool secrets);

// How many sections can be read.
std::size_t Image_Count(const Image& image);

const char* State_Name(ImageState state);

// The bytes of a field in memory's order: numbers low byte first.
std::span<const std::uint8_t> Field_Bytes(const Range& range);

// The values that a restore hands over for the paths of a field.
ValueSlots Field_Values(const Range& range);

// --- what a command answers: rows of named cells, of which one printer makes JSON for programs or
// lines for people, without what is secret (look.cpp) ---

using Json = nlohmann::ordered_json;

// The paths of all parameters, and whether one is secret: one of its fields is.
std::map<std::string, bool> Table_Paths();

// A range: "address", "size", "kind", "section", "key" (none: the table has no row for it),
// "meaning", "paths", "texts", "bytes" and "secret", as far as there are such.
Json Range_Row(const Image& image, const Range& range);

// Every stored parameter by its path: "path", "value" (null: none), the field that it comes from
// ("section", "key", "address", "bytes", "paths"), in "fields" all that it is made of, "secret".
Json Parameter_Rows(const Image& image);

// Names on standard error the sections that can't be read, and how many parameters are missing.
// Returns whether there are any.
bool SayWhatIsMissing(const Image& image);

// A cell as people read it: addresses in hex, bytes with their runs, lists with commas; empty when
// there is none.
std::string Cell(const Json& row, const char* name);

// A row, or all that is in rows, without what is secret.
Json Shown(Json rows);

// "WHERE=OLD -> NEW (WHY)" of a row that is shown; for "bytes" "WHERE: OLD -> NEW".
std::string Change_Text(const Json& row, const char* kind);

// The first members of an answer: schema, command and source.
Json Answer(const Options& options, const Image& image);

// An answer as JSON, in which bytes that are no UTF-8 become U+FFFD; or its lines of columns,
// aligned on a terminal, separated by a tab elsewhere.
using Columns = std::vector<std::string>;
std::string Printed(const Options& options, const Json& answer, const std::vector<Columns>& lines);

// --- the daemon's own start, on an image on the bus and a copy of a configuration (make.cpp) ---
// Makes a copy of a configuration, of what people know by `name`, the camera's own to the daemon's
// functions: they read it, change it and save it. It is gone with the process. Throws Failure.
void Config_Use(const std::string& name, const std::string& content);

// The image that the daemon would write for the working copy into a blank EEPROM.
std::vector<std::uint8_t> Start_Fill(std::uint32_t time);

// Whether the image on the bus is of another product than the working copy, which a start of the
// daemon then resets first.
bool Start_IsForeign();

// Puts the values of the image on the bus into the working copy: an image of another product goes
// into a configuration that has just been reset, and its streams are clamped. Returns rows for
// Change_Text, with the cells of the field where there is one: what changes, in the configuration's
// order; then with "why" what stays out and what the image has no value for ("new" is null), by
// another parameter's value where there is "beside". Throws Failure.
Json Start_Restore(const Image& image, const Options& options);
