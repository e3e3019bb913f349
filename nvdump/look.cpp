// SPDX-License-Identifier: MIT
// What an image holds: info, list, get.
#include <algorithm>

#include "nvdump/json.h"
#include "nvdump/options.h"
#include "nvdump/output.h"
#include "nvdump/source.h"
#include "nvdump/text.h"
#include "sections/section.h"

namespace {

Json SectionJson(const StoredSection& section, const Options& options) {
  const SectionRecord& record = section.record;
  const auto shown = [hides = section.is_secret && !options.secrets](std::uint32_t number) -> Json {
    if (hides) return nullptr;
    return number;
  };
  return {{"section", SectionName_At(section.position)},
          {"address", record.address},
          {"type", shown(static_cast<std::uint32_t>(record.type))},
          {"version", shown(record.version)},
          {"next_address", shown(record.next_address)},
          {"readable", section.is_readable}};
}

std::string InfoText(const Image& image, const char* state, long sections) {
  std::vector<std::vector<std::string>> rows = {{"state", state}};
  if (image.state == ImageState::filled) {
    rows.push_back({"product number", Escaped(image.product)});
    rows.push_back({"last change", Time_Text(image.time)});
  }
  rows.push_back({"sections", Format("%ld", sections)});
  rows.push_back({"size", Format("%zu", image.bytes.size())});
  rows.push_back({"read from", Escaped(image.name) + " (" + image.adapter + ")"});
  return TableText(rows);
}

// A value as it may be shown.
std::string Shown(const StoredParameter& parameter, const Options& options) {
  const bool is_hidden = parameter.is_secret && !options.secrets && !parameter.value.empty();
  return is_hidden ? hidden : parameter.value;
}

std::string FieldHex(const Image& image, const StoredField& stored, const Options& options) {
  if (stored.is_secret && !options.secrets) return hidden;
  return Hex(Image_Bytes(image, stored.address, stored.field->format.size));
}

Json ParameterJson(const Image& image, const StoredParameter& parameter, const Options& options) {
  const StoredField& source = parameter.source;
  Json json = {{"path", parameter.path}, {"value", Shown(parameter, options)}};
  if (parameter.value.empty()) json["value"] = nullptr;
  json["section"] = SectionName_At(source.section->position);
  json["key"] = Key_Text(source);
  json["address"] = source.address;
  json["bytes"] = FieldHex(image, source, options);
  return json;
}

std::vector<std::string> ParameterRow(const Image& image, const StoredParameter& parameter,
                                      const Options& options) {
  const std::string pair =
      Painted(Colour::cyan, parameter.path) + "=" + Escaped(Shown(parameter, options));
  if (!options.is_long) return {pair};
  const StoredField& source = parameter.source;
  const auto bytes = Image_Bytes(image, source.address, source.field->format.size);
  const std::string hex = source.is_secret && !options.secrets ? hidden : HexRuns(bytes);
  return {SectionName_At(source.section->position), Key_Text(source),
          Format("%04x", source.address), pair, hex};
}

std::string ParametersText(const Image& image, const std::vector<StoredParameter>& parameters,
                           const Options& options) {
  if (options.json) {
    Json json = Json_Head(options.command, image);
    json["parameters"] = Json::array();
    for (const StoredParameter& parameter : parameters) {
      json["parameters"].push_back(ParameterJson(image, parameter, options));
    }
    return Json_Text(json);
  }
  std::vector<std::vector<std::string>> rows;
  rows.reserve(parameters.size());
  for (const StoredParameter& parameter : parameters) {
    rows.push_back(ParameterRow(image, parameter, options));
  }
  return TableText(rows);
}

bool MatchesAny(const std::string& path, std::span<const std::string> patterns) {
  return patterns.empty() || std::ranges::any_of(patterns, [&path](const std::string& pattern) {
           return FitsPattern(path, pattern);
         });
}

// Names the patterns that fit nothing. Returns whether there are any.
bool ReportUnknown(const std::vector<StoredParameter>& parameters,
                   std::span<const std::string> patterns) {
  bool has_unknown = false;
  for (const std::string& pattern : patterns) {
    const bool is_known = std::ranges::any_of(parameters, [&pattern](const StoredParameter& each) {
      return FitsPattern(each.path, pattern);
    });
    if (!is_known) Say(Escaped(pattern) + ": no such parameter or file");
    has_unknown = has_unknown || !is_known;
  }
  return has_unknown;
}

// The source of a list. Where none is named, the first pattern may have been meant to be one.
Image OpenForPatterns(const Options& options, const std::string& name,
                      std::span<const std::string> patterns) {
  try {
    return Source_Open(options, name);
  } catch (const Failure& failure) {
    if (!name.empty() || patterns.empty()) throw;
    throw Failure(std::string(failure.what()) + " (and no file " + patterns[0] + ")");
  }
}

}  // namespace

int Info(const Options& options, std::string& out) {
  const Image image = Source_Open(options, options.operands);
  const char* state = State_Name(image.state);
  if (!options.json) {
    out += InfoText(image, state,
                    std::ranges::count(image.sections, true, &StoredSection::is_readable));
    return exit_fine;
  }
  Json json = Json_Head("info", image);
  json["state"] = state;
  json["product_number"] = image.product;
  json["last_change"] = image.time;
  json["sections"] = Json::array();
  for (const StoredSection& section : image.sections) {
    json["sections"].push_back(SectionJson(section, options));
  }
  out += Json_Text(json);
  return exit_fine;
}

int List(const Options& options, std::string& out) {
  std::span<const std::string> patterns = options.operands;
  std::string name;
  if (!patterns.empty() && Source_IsName(patterns[0])) {
    name = patterns[0];
    patterns = patterns.subspan(1);
  }
  const Image image = OpenForPatterns(options, name, patterns);
  std::vector<StoredParameter> parameters = Image_Parameters(image);
  const bool has_unknown = ReportUnknown(parameters, patterns);
  std::erase_if(parameters, [&](const StoredParameter& parameter) {
    const std::string section = SectionName_At(parameter.source.section->position);
    return (parameter.value.empty() && !options.all) || !IsSection(section, options.section) ||
           !MatchesAny(parameter.path, patterns);
  });
  out += ParametersText(image, parameters, options);
  return parameters.empty() || has_unknown ? exit_finds : exit_fine;
}

int Get(const Options& options, std::string& out) {
  const Image image = Source_Open(options, options.source);
  std::vector<StoredParameter> found;
  int status = exit_fine;
  const std::vector<StoredParameter> all = Image_Parameters(image);
  for (const std::string& path : options.operands) {
    const auto parameter = std::ranges::find_if(
        all, [&path](const StoredParameter& each) { return IsPath(each.path, path); });
    if (parameter == all.end() || parameter->value.empty()) {
      Say(Escaped(path) + ": not stored");
      status = exit_finds;
    } else {
      found.push_back(*parameter);
    }
  }
  if (options.json) {
    out += ParametersText(image, found, options);
    return status;
  }
  for (const StoredParameter& parameter : found) out += Escaped(Shown(parameter, options)) + "\n";
  return status;
}
