// SPDX-License-Identifier: MIT
// What a command answers: rows of named cells, as they are. One printer makes JSON for programs or
// lines for people of them and hides what is secret.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "nvdump/image.h"
#include "nvdump/options.h"

using Json = nlohmann::ordered_json;

// The version of the object that --json prints: more members may come, none changes its meaning.
inline constexpr int json_schema = 1;

// Every stored parameter by its path: "path", "value" (null: none), the field that it comes from
// ("section", "key", "address", "bytes", "paths"), in "fields" all that it is made of, "secret".
Json Parameter_Rows(const Image& image);

// Every byte once, ascending, by "section key": "address", "size", "kind", "section", "key",
// "meaning", "paths", "texts", "bytes" and "secret", as far as there are such.
Json Range_Rows(const Image& image);

// What a field holds: a quoted text, a number, an enumeration's number and text.
std::string Field_Meaning(const Range& range);

// A cell as people read it: addresses in hex, bytes with their runs, lists with commas; empty when
// there is none.
std::string Cell(const Json& row, const char* name);

// A row, or each of several, without what is secret.
Json Row_Shown(Json row);
Json Rows_Shown(const Json& rows);

// "WHERE=OLD -> NEW (WHY)" of a row that is shown; for "bytes" "WHERE: OLD -> NEW".
std::string Change_Text(const Json& row, const char* kind = "value");

// Lines of columns: aligned on a terminal, separated by a tab elsewhere.
using Columns = std::vector<std::string>;
std::string Lines(const std::vector<Columns>& lines);

// The first members of an answer: schema, command and source.
Json Answer(const Options& options, const Image& image);

// An answer as text; bytes that are no UTF-8 become U+FFFD.
std::string Json_Text(const Json& answer);
