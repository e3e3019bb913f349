// SPDX-License-Identifier: MIT
// The configuration library over pugixml. The tree keeps everything that the file holds (comments,
// white space, processing instructions), and a save puts the file's own bytes around the document
// element, so that a change shows up as one changed line in a diff. A handle remembers what was
// changed through it; a save repeats that on the file as it is by then, so that it undoes nothing
// that other programs have saved since the handle was opened.
#include "platform/libcfg.h"

#include <pugixml.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/file.h"
#include "platform/utf8.h"

namespace {

constexpr unsigned keep_everything = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_pi |
                                     pugi::parse_comments | pugi::parse_declaration |
                                     pugi::parse_doctype | pugi::parse_ws_pcdata |
                                     pugi::parse_fragment;  // text beside the root as well

enum class ChangeKind : std::uint8_t { element, value, attribute };

// What was changed, not into what: that is in the tree.
struct Change {
  ChangeKind kind = ChangeKind::element;
  pugi::xml_node element;
  pugi::xml_attribute attribute;

  bool operator<(const Change& other) const {
    return std::tie(kind, element, attribute) <
           std::tie(other.kind, other.element, other.attribute);
  }
};

struct LoadedFile {
  std::string path;
  pugi::xml_document document;
  std::string before_root;      // the file's bytes before "<root"
  std::string after_root;       // and behind "</root>"
  std::vector<Change> changes;  // not saved yet; each once, in the order of the first time
  std::set<Change> known;       // the same
};

std::list<LoadedFile> loaded_files;

// cfg_node is the opaque name of pugixml's own node structure; a handle is the document's node.
pugi::xml_node Node(cfg_node* node) {
  return pugi::xml_node(reinterpret_cast<pugi::xml_node_struct*>(node));
}

cfg_node* Opaque(const pugi::xml_node& node) {
  return reinterpret_cast<cfg_node*>(node.internal_object());
}

auto FindLoadedFile(cfg_handle* handle) {
  return std::find_if(loaded_files.begin(), loaded_files.end(),
                      [handle](const LoadedFile& file) { return Opaque(file.document) == handle; });
}

bool IsText(const pugi::xml_node& node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

bool HasChildElement(const pugi::xml_node& node) {
  return std::any_of(node.begin(), node.end(), [](const pugi::xml_node& child) {
    return child.type() == pugi::node_element;
  });
}

// The position behind the ">" that ends the tag at `position`; quoted text may hold a ">".
std::size_t EndOfTag(std::string_view text, std::size_t position) {
  char quote = '\0';
  for (; position < text.size(); ++position) {
    const char c = text[position];
    if (quote != '\0') {
      if (c == quote) quote = '\0';
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      return position + 1;
    }
  }
  return text.size();
}

void KeepSurroundings(LoadedFile& file, std::string_view text) {
  const pugi::xml_node root = file.document.document_element();
  const std::size_t begin = static_cast<std::size_t>(root.offset_debug()) - 1;
  const pugi::xml_node next = root.next_sibling();
  const std::size_t limit = next ? static_cast<std::size_t>(next.offset_debug()) - 1 : text.size();
  std::size_t end = EndOfTag(text, begin);
  if (text[end - 2] != '/') {  // not an empty-element tag
    end = EndOfTag(text, text.rfind(std::string("</") + root.name(), limit));
  }
  file.before_root = text.substr(0, begin);
  file.after_root = text.substr(end);
}

bool RepeatsAnAttribute(const pugi::xml_node& element) {
  return std::any_of(
      element.attributes_begin(), element.attributes_end(),
      [&element](const auto& each) { return element.attribute(each.name()) != each; });
}

bool IsBlank(const pugi::xml_node& node) {
  return node.type() == pugi::node_pcdata &&
         node.value()[std::strspn(node.value(), " \t\r\n")] == '\0';
}

// What the parser lets pass is refused: more at the top than one element, and attributes twice. So
// are entities of the file's own, which the parser would not know and a save would damage.
bool IsConfiguration(const pugi::xml_document& document) {
  int elements = 0;
  for (const pugi::xml_node& node : document) {
    if (node.type() == pugi::node_element) ++elements;
    if (IsText(node) && !IsBlank(node)) return false;
    if (node.type() == pugi::node_doctype && std::strchr(node.value(), '[') != nullptr) {
      return false;
    }
  }
  return elements == 1 && !document.find_node(RepeatsAnAttribute);
}

// "&#0;" in any of its forms: XML knows no such character, and the parser would end the value
// there.
bool HasNulReference(std::string_view text) {
  for (std::size_t at = 0; (at = text.find("&#", at)) != std::string_view::npos;) {
    at += 2;
    std::string_view number = text.substr(at);
    if (number.starts_with('x')) number.remove_prefix(1);
    const std::size_t zeros = number.find_first_not_of('0');
    if (zeros != std::string_view::npos && zeros > 0 && number[zeros] == ';') return true;
  }
  return false;
}

// Characters that XML has no way to write, not even as character references.
bool IsForbidden(std::string_view character) {
  const auto first = static_cast<std::uint8_t>(character[0]);
  return (first < 0x20 && first != '\t' && first != '\n' && first != '\r') ||
         character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF";
}

// As Utf8_CharacterSize; 0 for what XML can't hold as well.
std::size_t CharacterSize(std::string_view text) {
  const std::size_t size = Utf8_CharacterSize(text);
  return size > 0 && IsForbidden(text.substr(0, size)) ? 0 : size;
}

// What of a text goes into a file: all but a character that a cut left unfinished at the end.
// Nothing when the text holds what no XML file can.
std::optional<std::string> Writable(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = CharacterSize(text.substr(at));
    if (size == 0) return std::nullopt;
    if (size > text.size() - at) return std::string(text.substr(0, at));
    at += size;
  }
  return std::string(text);
}

bool IsNameStart(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }

bool IsName(std::string_view name, std::string_view marks) {
  const auto belongs = [marks](char c) {
    return IsNameStart(c) || (c >= '0' && c <= '9') || marks.find(c) != std::string_view::npos;
  };
  return !name.empty() && IsNameStart(name[0]) && std::all_of(name.begin(), name.end(), belongs);
}

// Calls `step` with each component of a dotted path until it returns an empty node.
template <typename Step>
pugi::xml_node FollowPath(pugi::xml_node node, std::string_view path, Step step) {
  while (node) {
    const std::size_t dot = path.find('.');
    node = step(node, path.substr(0, dot));
    if (dot == std::string_view::npos) break;
    path.remove_prefix(dot + 1);
  }
  return node;
}

pugi::xml_node ChildElement(const pugi::xml_node& parent, std::string_view name) {
  return parent.find_child([name](const pugi::xml_node& child) {
    return child.type() == pugi::node_element && child.name() == name;
  });
}

std::string Text(const pugi::xml_node& element) {
  std::string text;
  for (const pugi::xml_node& child : element) {
    if (IsText(child)) text += child.value();
  }
  return text;
}

bool SetText(pugi::xml_node element, const std::string& value) {
  if (!element || HasChildElement(element)) return false;
  pugi::xml_node text;  // none for an empty value: the parser makes none of it either
  if (!value.empty()) text = element.find_child(IsText);
  if (!value.empty() && !text) text = element.append_child(pugi::node_pcdata);
  text.set_value(value.c_str());
  for (pugi::xml_node child = element.first_child(); child;) {
    const pugi::xml_node next = child.next_sibling();
    if (IsText(child) && child != text) element.remove_child(child);
    child = next;
  }
  return true;
}

// The copy; nothing when there is no such element or XML can't hold the attribute.
pugi::xml_attribute CopyAttribute(pugi::xml_node destination,
                                  const pugi::xml_attribute& attribute) {
  const auto value = Writable(attribute.value());
  if (!value || !IsName(attribute.name(), "-.:")) return {};
  pugi::xml_attribute copy = destination.attribute(attribute.name());
  if (!copy) copy = destination.append_attribute(attribute.name());
  copy.set_value(value->c_str());
  return copy;
}

void Remember(const Change& change) {
  const auto file = FindLoadedFile(Opaque(change.element.root()));
  if (file == loaded_files.end()) return;
  if (file->known.insert(change).second) file->changes.push_back(change);
}

bool CopyAndRemember(const pugi::xml_node& destination, const pugi::xml_attribute& attribute) {
  const pugi::xml_attribute copy = CopyAttribute(destination, attribute);
  if (copy) Remember({ChangeKind::attribute, destination, copy});
  return !copy.empty();
}

struct StringWriter : pugi::xml_writer {
  std::string text;
  void write(const void* data, std::size_t size) override {
    text.append(static_cast<const char*>(data), size);
  }
};

void CopyBounded(char* destination, int size, std::string_view text) {
  if (size <= 0) return;
  const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  std::memcpy(destination, text.data(), length);
  destination[length] = '\0';
}

bool Parse(std::string_view text, LoadedFile& file) {
  constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
  // What a cut left behind a NUL is no part of the file; the parser does not see it either.
  text = text.substr(0, text.find('\0'));
  const std::size_t skipped = text.starts_with(byte_order_mark) ? byte_order_mark.size() : 0;
  const std::string_view xml = text.substr(skipped);
  if (HasNulReference(xml)) return false;
  const pugi::xml_parse_result result = file.document.load_buffer(
      xml.data(), xml.size(), keep_everything, pugi::xml_encoding::encoding_utf8);
  if (!result || !IsConfiguration(file.document)) return false;
  KeepSurroundings(file, xml);
  file.before_root.insert(0, text, 0, skipped);
  return true;
}

std::string Print(const LoadedFile& file) {
  StringWriter writer;
  writer.text = file.before_root;
  file.document.document_element().print(writer, "", pugi::format_raw, pugi::encoding_utf8);
  writer.text += file.after_root;
  return std::move(writer.text);
}

pugi::xml_node NextOfItsName(const pugi::xml_node& element) {
  pugi::xml_node next = element.next_sibling(element.name());
  while (next && next.type() != pugi::node_element) next = next.next_sibling(element.name());
  return next;
}

// The child at the place that `element` has among the elements of its name.
pugi::xml_node SameChild(const pugi::xml_node& parent, const pugi::xml_node& element) {
  pugi::xml_node child = ChildElement(parent, element.name());
  pugi::xml_node before = ChildElement(element.parent(), element.name());
  for (; child && before != element; before = NextOfItsName(before)) child = NextOfItsName(child);
  return child;
}

// Where an element of one tree is in another; created there, with what is missing on the way, if so
// asked for.
pugi::xml_node Counterpart(pugi::xml_node element, pugi::xml_node document, bool create) {
  std::vector<pugi::xml_node> way;
  for (; element.parent(); element = element.parent()) way.push_back(element);
  pugi::xml_node place = document;
  for (auto step = way.rbegin(); step != way.rend() && place; ++step) {
    pugi::xml_node child = SameChild(place, *step);
    if (!child && create) child = place.append_child(step->name());
    place = child;
  }
  return place;
}

// False when the element is no longer there, or has become one that can't be changed so.
bool Repeat(const Change& change, const pugi::xml_node& document) {
  const bool create = change.kind == ChangeKind::element;
  const pugi::xml_node place = Counterpart(change.element, document, create);
  if (change.kind == ChangeKind::value) return SetText(place, Text(change.element));
  if (change.kind == ChangeKind::attribute) return !CopyAttribute(place, change.attribute).empty();
  return !place.empty();
}

// Makes of the file as it is now one with what has been changed through the handle; `left` gets
// what can't be repeated. False when it is no such file any more.
bool Merge(const LoadedFile& file, std::string_view present, std::string& next,
           std::vector<Change>& left) {
  LoadedFile now;
  const std::string_view root = file.document.document_element().name();
  if (!Parse(present, now)) return false;
  if (now.document.document_element().name() != root) return false;
  for (const Change& change : file.changes) {
    if (!Repeat(change, now.document)) left.push_back(change);
  }
  next = Print(now);
  return true;
}

}  // namespace

cfg_handle* cfg_init(const char* path) {
  std::string text;
  if (path == nullptr || File_Read(path, text) != 0) return nullptr;
  LoadedFile& file = loaded_files.emplace_back();
  file.path = path;
  if (Parse(text, file)) return Opaque(file.document);
  loaded_files.pop_back();
  return nullptr;
}

void cfg_deinit(cfg_handle* handle) {
  const auto file = FindLoadedFile(handle);
  if (file != loaded_files.end()) loaded_files.erase(file);
}

cfg_node* cfg_find_param_node(cfg_node* parent, const char* path) {
  return Opaque(FollowPath(Node(parent), path, ChildElement));
}

int cfg_get_param_value(cfg_node* node, char* value, int size) {
  const pugi::xml_node element = Node(node);
  if (!element || HasChildElement(element)) return -1;
  CopyBounded(value, size, Text(element));
  return 0;
}

int cfg_set_param_value(cfg_node* node, const char* value) {
  const auto text = Writable(value);
  if (!text || !SetText(Node(node), *text)) return -1;
  Remember({ChangeKind::value, Node(node), {}});
  return 0;
}

int cfg_set_param_value_no_eeprom(cfg_node* node, const char* value) {
  return cfg_set_param_value(node, value);
}

int cfg_save_file(cfg_handle* handle, const char* path) {
  const auto file = FindLoadedFile(handle);
  if (file == loaded_files.end() || path == nullptr) return -1;
  const bool is_copy = file->path != path;
  std::vector<Change> left;
  const auto change = [&](const std::string* present, std::string& next) {
    left.clear();
    if (present != nullptr && !is_copy) return Merge(*file, *present, next, left);
    next = Print(*file);
    return true;
  };
  if (File_Update(path, change) != 0) return -1;
  if (!is_copy) {
    file->changes = left;
    file->known = {left.begin(), left.end()};
  }
  return left.empty() ? 0 : -1;
}

cfg_node* cfg_add_param_node(cfg_node* root, const char* path) {
  return Opaque(FollowPath(Node(root), path, [](pugi::xml_node parent, std::string_view name) {
    pugi::xml_node child = ChildElement(parent, name);
    if (child || !IsName(name, "-")) return child;
    child = parent.append_child(std::string(name).c_str());
    Remember({ChangeKind::element, child, {}});
    return child;
  }));
}

int cfg_add_param_value(cfg_node* node, const char* value) {
  return cfg_set_param_value(node, value);
}

int cfg_cp_node_attr(cfg_node* destination, cfg_node* source) {
  for (const pugi::xml_attribute& attribute : Node(source).attributes()) {
    (void)CopyAndRemember(Node(destination), attribute);  // what XML can't hold stays behind
  }
  return 0;
}

int cfg_cp_node_attr_spec(cfg_node* destination, cfg_node* source, const char* name) {
  const pugi::xml_attribute attribute = Node(source).attribute(name);
  return attribute && CopyAndRemember(Node(destination), attribute) ? 0 : -1;
}

int cfg_get_node_op_mode(cfg_node* node, int mode) {
  const std::string_view text = Node(node).attribute("op").value();
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : mode;
}

void cfg_get_node_pathname(cfg_node* node, cfg_node* base, char* path, int size) {
  std::string text;
  for (pugi::xml_node element = Node(node); element && element != Node(base);
       element = element.parent()) {
    text.insert(0, text.empty() ? element.name() : std::string(element.name()) + ".");
  }
  CopyBounded(path, size, text);
}

cfg_node* cfg_walk_next(cfg_node* node, cfg_node* base, int descend) {
  const auto is_element = [](const pugi::xml_node& candidate) {
    return candidate.type() == pugi::node_element;
  };
  const pugi::xml_node top = Node(base);
  pugi::xml_node element = Node(node);
  if (descend != 0) {
    if (const pugi::xml_node child = element.find_child(is_element)) return Opaque(child);
  }
  for (; element && element != top; element = element.parent()) {
    for (pugi::xml_node next = element.next_sibling(); next; next = next.next_sibling()) {
      if (is_element(next)) return Opaque(next);
    }
  }
  return nullptr;
}
