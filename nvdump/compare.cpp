// SPDX-License-Identifier: MIT
// What differs from another image: diff.
#include <algorithm>

#include "nvdump/json.h"
#include "nvdump/options.h"
#include "nvdump/output.h"
#include "nvdump/source.h"
#include "nvdump/text.h"
#include "sections/section.h"
#include "sections/system_records.h"

namespace {

struct Difference {
  std::string where;   // the parameter's path, or address, section and key
  std::string before;  // empty: there is none
  std::string after;
  bool is_secret = false;
  const char* separator = ": ";
};

const StoredParameter* Find(const std::vector<StoredParameter>& parameters,
                            const std::string& path) {
  const auto found = std::ranges::find(parameters, path, &StoredParameter::path);
  return found == parameters.end() ? nullptr : &*found;
}

void CompareParameter(const StoredParameter* a, const StoredParameter* b,
                      std::vector<Difference>& differences) {
  const std::string before = a == nullptr ? "" : a->value;
  const std::string after = b == nullptr ? "" : b->value;
  if (before == after) return;
  const bool is_secret = (a != nullptr && a->is_secret) || (b != nullptr && b->is_secret);
  differences.push_back({a != nullptr ? a->path : b->path, before, after, is_secret, "="});
}

std::vector<Difference> CompareParameters(const Image& image_a, const Image& image_b) {
  const std::vector<StoredParameter> a = Image_Parameters(image_a);
  const std::vector<StoredParameter> b = Image_Parameters(image_b);
  std::vector<Difference> differences;
  for (const StoredParameter& each : a) CompareParameter(&each, Find(b, each.path), differences);
  for (const StoredParameter& each : b) {
    if (Find(a, each.path) == nullptr) CompareParameter(nullptr, &each, differences);
  }
  return differences;
}

// Whether a difference of one of the field's parameters has been told already.
bool IsTold(const StoredField& stored, const std::vector<Difference>& parameters) {
  const PathText row_paths = Paths_Text(stored);
  const RowPaths paths = Map_SplitPaths(row_paths.data());
  return std::ranges::any_of(std::span(paths.path).first(paths.count), [&](std::string_view path) {
    return std::ranges::find(parameters, path, &Difference::where) != parameters.end();
  });
}

// The one field that always differs between two images.
bool IsTime(const StoredField& stored) {
  return stored.section->position == 0 && stored.offset == identification_time.offset;
}

void CompareHeaders(const Image& a, const Image& b, std::vector<Difference>& differences) {
  const auto header = [](const Image& image, std::size_t position) -> std::string {
    if (position >= image.sections.size()) return {};
    return Hex(Image_Bytes(image, image.sections[position].record.address, SECTION_HEADER_SIZE));
  };
  const auto has_secret = [](const Image& image, std::size_t position) {
    return position < image.sections.size() && image.sections[position].is_secret;
  };
  for (std::size_t i = 0; i < std::max(a.sections.size(), b.sections.size()); ++i) {
    const Image& has_it = i < a.sections.size() ? a : b;
    const std::string where =
        Format("%04x: %s header", has_it.sections[i].record.address, SectionName_At(i).c_str());
    const bool is_secret = has_secret(a, i) || has_secret(b, i);
    if (header(a, i) != header(b, i))
      differences.push_back({where, header(a, i), header(b, i), is_secret});
  }
}

std::vector<Difference> CompareBytes(const Image& a, const Image& b,
                                     const std::vector<Difference>& parameters) {
  std::vector<Difference> differences;
  CompareHeaders(a, b, differences);
  const std::vector<StoredField> fields = Image_Fields(b);
  for (const StoredField& in_a : Image_Fields(a)) {
    const auto in_b = std::ranges::find_if(fields, [&in_a](const StoredField& each) {
      return each.section->position == in_a.section->position && each.offset == in_a.offset;
    });
    if (in_b == fields.end() || IsTime(in_a) || IsTold(in_a, parameters)) continue;
    const std::size_t size = in_a.field->format.size;
    const auto before = Image_Bytes(a, in_a.address, size);
    const auto after = Image_Bytes(b, in_b->address, size);
    if (before == after) continue;
    const std::string where =
        Format("%04x: %s %s", in_a.address, SectionName_At(in_a.section->position).c_str(),
               Key_Text(in_a).c_str());
    differences.push_back(
        {where, HexRuns(before), HexRuns(after), in_a.is_secret || in_b->is_secret});
  }
  return differences;
}

std::string DifferenceText(const Difference& difference, bool shows_secrets) {
  const auto& [where, before, after, is_secret, separator] = difference;
  if (is_secret && !shows_secrets) return where + separator + "changed\n";
  const auto shown = [](const std::string& text) {
    return text.empty() ? "(none)" : Escaped(text);
  };
  return where + separator + Painted(Colour::red, shown(before)) + " -> " +
         Painted(Colour::green, shown(after)) + "\n";
}

Json DifferencesJson(const std::vector<Difference>& differences, bool shows_secrets) {
  Json json = Json::array();
  for (const auto& [where, before, after, is_secret, separator] : differences) {
    const auto shown = [&, hides = is_secret && !shows_secrets](const std::string& text) -> Json {
      if (text.empty()) return nullptr;
      return hides ? hidden : text;
    };
    json.push_back({{"where", where}, {"old", shown(before)}, {"new", shown(after)}});
  }
  return json;
}

}  // namespace

int Diff(const Options& options, std::string& out) {
  const Image a = Source_Open(options, options.operands[0]);
  const Image b = Source_Open(options, options.operands[1]);
  const std::vector<Difference> parameters = CompareParameters(a, b);
  const std::vector<Difference> bytes = CompareBytes(a, b, parameters);
  const bool is_equal = parameters.empty() && bytes.empty() && a.state == b.state;
  if (options.json) {
    Json json = Json_Head(options.command, a);
    json["other"] = Json_Head(options.command, b)["source"];
    json["states"] = {State_Name(a.state), State_Name(b.state)};
    json["last_change"] = {a.time, b.time};
    json["parameters"] = DifferencesJson(parameters, options.secrets);
    json["bytes"] = DifferencesJson(bytes, options.secrets);
    out += Json_Text(json);
  } else {
    if (a.state != b.state)
      out += DifferenceText({"state", State_Name(a.state), State_Name(b.state)}, true);
    for (const Difference& each : parameters) out += DifferenceText(each, options.secrets);
    for (const Difference& each : bytes) out += DifferenceText(each, options.secrets);
    if (a.time != b.time) Say("last change: " + Time_Text(a.time) + " -> " + Time_Text(b.time));
  }
  return is_equal ? exit_fine : exit_finds;
}
