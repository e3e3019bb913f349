// SPDX-License-Identifier: MIT
// The configuration library over pugixml. The tree keeps everything that the file holds (comments,
// white space, processing instructions), so that a change shows up as one changed line in a diff. A
// handle keeps what was changed through it; a save repeats that on the file as it is by then, so
// that it undoes nothing that other programs have saved since the handle was opened.
#include "platform/libcfg.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <forward_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file.h"
#include "platform/libcfg_fault.h"
#include "platform/utf8.h"

namespace {

constexpr unsigned keep_everything = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_pi |
                                     pugi::parse_comments | pugi::parse_declaration |
                                     pugi::parse_doctype | pugi::parse_ws_pcdata |
                                     pugi::parse_fragment;  // text beside the root as well

struct Change {
  std::string path;                  // of the element, from the document element on
  std::string attribute;             // its name; empty: it is the element that changes
  std::optional<std::string> value;  // none: the element is there
};

struct LoadedFile {
  std::string path;
  pugi::xml_document document;
  bool has_byte_order_mark = false;
  std::vector<Change> changes;  // not saved yet, in their order
};

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

std::forward_list<LoadedFile> loaded_files;
std::array<char, 128> last_fault;

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

bool IsElement(const pugi::xml_node& node) { return node.type() == pugi::node_element; }

bool HasChildElement(const pugi::xml_node& node) { return !node.find_child(IsElement).empty(); }

bool IsBlank(const pugi::xml_node& node) {
  return node.type() == pugi::node_pcdata &&
         node.value()[std::strspn(node.value(), " \t\r\n")] == '\0';
}

// What is wrong with a file, and where.
struct Fault {
  std::ptrdiff_t offset = 0;
  const char* what = nullptr;  // null: nothing
};

struct RepeatedAttribute : pugi::xml_tree_walker {
  Fault fault;
  bool for_each(pugi::xml_node& node) override {
    for (auto each = node.first_attribute(); each; each = each.next_attribute()) {
      for (auto other = each.next_attribute(); other; other = other.next_attribute()) {
        if (std::strcmp(each.name(), other.name()) != 0) continue;
        fault = {node.offset_debug(), "An attribute stands twice"};
        return false;
      }
    }
    return true;
  }
};

// What the parser lets pass is refused: more at the top than one element, and attributes twice. So
// are entities of the file's own, which the parser would not know and a save would damage.
Fault FaultOf(pugi::xml_document& document) {
  int elements = 0;
  for (pugi::xml_node node = document.first_child(); node; node = node.next_sibling()) {
    const std::ptrdiff_t offset = node.offset_debug();
    if (IsElement(node) && ++elements > 1) return {offset, "A second root"};
    if (IsText(node) && !IsBlank(node)) return {offset, "Text beside the root"};
    if (node.type() == pugi::node_doctype && std::strchr(node.value(), '[') != nullptr) {
      return {offset, "Entities of its own"};
    }
  }
  if (elements == 0) return {0, "No element"};
  RepeatedAttribute repeated;
  (void)document.traverse(repeated);
  return repeated.fault;
}

// "&#0;" in any of its forms: XML knows no such character, and the parser would end the value
// there.
std::size_t FindNulReference(std::string_view text) {
  for (std::size_t at = 0; (at = text.find("&#", at)) != std::string_view::npos;) {
    at += 2;
    std::string_view number = text.substr(at);
    if (number.starts_with('x')) number.remove_prefix(1);
    const std::size_t zeros = number.find_first_not_of('0');
    if (zeros != std::string_view::npos && zeros > 0 && number[zeros] == ';') return at;
  }
  return std::string_view::npos;
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

// The child element of a name, made if need be, or nothing.
using Step = pugi::xml_node (*)(pugi::xml_node parent, const char* name);

// Takes a step for each component of a dotted path until there is no element.
pugi::xml_node FollowPath(pugi::xml_node node, std::string_view path, Step step) {
  while (node) {
    const std::size_t dot = path.find('.');
    node = step(node, std::string(path.substr(0, dot)).c_str());
    if (dot == std::string_view::npos) break;
    path.remove_prefix(dot + 1);
  }
  return node;
}

// A processing instruction has a name as well.
pugi::xml_node ChildElement(pugi::xml_node parent, const char* name) {
  pugi::xml_node child = parent.child(name);
  while (child && child.type() != pugi::node_element) child = child.next_sibling(name);
  return child;
}

pugi::xml_node ChildElementMade(pugi::xml_node parent, const char* name) {
  const pugi::xml_node child = ChildElement(parent, name);
  return child ? child : parent.append_child(name);
}

// The dotted path of an element, from the component below `base` on.
std::string PathBelow(const pugi::xml_node& base, pugi::xml_node element) {
  std::string path;
  for (; element && element != base; element = element.parent()) {
    path.insert(0, path.empty() ? element.name() : std::string(element.name()) + ".");
  }
  return path;
}

std::string Text(const pugi::xml_node& element) {
  std::string text;
  for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
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

// False when there is no such element, or it can't be changed so.
bool Apply(const Change& change, pugi::xml_node element) {
  if (!element || !change.value) return !element.empty();
  if (change.attribute.empty()) return SetText(element, *change.value);
  pugi::xml_attribute attribute = element.attribute(change.attribute.c_str());
  if (!attribute) attribute = element.append_attribute(change.attribute.c_str());
  return attribute.set_value(change.value->c_str());
}

// Whether the path of an element leads to it. It leads elsewhere from a second element of a name,
// and a save would change that.
bool IsFirst(const pugi::xml_node& element) {
  const pugi::xml_node document = element.root();
  return FollowPath(document, PathBelow(document, element), ChildElement) == element;
}

// Changes an element and keeps that for the save.
bool ApplyAndKeep(const pugi::xml_node& element, std::string attribute,
                  std::optional<std::string> value) {
  const auto file = FindLoadedFile(Opaque(element.root()));
  if (file == loaded_files.end() || !IsFirst(element)) return false;
  Change change = {PathBelow(file->document, element), std::move(attribute), std::move(value)};
  if (!Apply(change, element)) return false;
  file->changes.push_back(std::move(change));
  return true;
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

void KeepFault(const Fault& fault, std::string_view text) {
  text = text.substr(0, static_cast<std::size_t>(fault.offset));
  const std::ptrdiff_t line = 1 + std::ranges::count(text, '\n');
  const std::size_t column = text.size() - text.rfind('\n');  // from 1; npos is -1
  (void)std::snprintf(last_fault.data(), last_fault.size(), "line %td, column %zu: %s", line,
                      column, fault.what);
}

bool Parse(std::string_view text, LoadedFile& file) {
  // What a cut left behind a NUL is no part of the file; the parser does not see it either.
  text = text.substr(0, text.find('\0'));
  file.has_byte_order_mark = text.starts_with(byte_order_mark);
  const pugi::xml_parse_result result = file.document.load_buffer(
      text.data(), text.size(), keep_everything, pugi::xml_encoding::encoding_utf8);
  Fault fault = {result.offset, result.description()};
  if (const std::size_t nul = FindNulReference(text); nul < text.size()) {
    fault = {static_cast<std::ptrdiff_t>(nul), "A NUL"};
  } else if (result) {
    fault = FaultOf(file.document);
  }
  if (fault.what != nullptr) KeepFault(fault, text);
  return fault.what == nullptr;
}

std::string Print(const LoadedFile& file) {
  StringWriter writer;
  if (file.has_byte_order_mark) writer.text = byte_order_mark;
  file.document.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
  return std::move(writer.text);
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
    const Step step = change.value ? ChildElement : ChildElementMade;
    if (!Apply(change, FollowPath(now.document.root(), change.path, step))) left.push_back(change);
  }
  next = Print(now);
  return true;
}

}  // namespace

cfg_handle* cfg_init(const char* path) {
  std::string text;
  if (path == nullptr || File_Read(path, text) != 0) {
    (void)std::snprintf(last_fault.data(), last_fault.size(), "%s", std::strerror(errno));
    return nullptr;
  }
  LoadedFile& file = loaded_files.emplace_front();
  file.path = path;
  if (Parse(text, file)) return Opaque(file.document);
  loaded_files.pop_front();
  return nullptr;
}

const char* Libcfg_Fault() { return last_fault.data(); }

void cfg_deinit(cfg_handle* handle) {
  loaded_files.remove_if(
      [handle](const LoadedFile& file) { return Opaque(file.document) == handle; });
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
  return text && ApplyAndKeep(Node(node), {}, text) ? 0 : -1;
}

int cfg_set_param_value_no_eeprom(cfg_node* node, const char* value) {
  return cfg_set_param_value(node, value);
}

int cfg_save_file(cfg_handle* handle, const char* path) {
  const auto file = FindLoadedFile(handle);
  if (file == loaded_files.end() || path == nullptr) return -1;
  const bool is_copy = file->path != path;
  if (!is_copy && file->changes.empty()) return 0;
  std::vector<Change> left;
  const auto change = [&](const std::string* present, std::string& next) {
    if (present != nullptr && !is_copy) return Merge(*file, *present, next, left);
    next = Print(*file);
    return true;
  };
  if (File_Update(path, change) != 0) return -1;
  if (!is_copy) file->changes = left;
  return left.empty() ? 0 : -1;
}

cfg_node* cfg_add_param_node(cfg_node* root, const char* path) {
  return Opaque(FollowPath(Node(root), path, [](pugi::xml_node parent, const char* name) {
    pugi::xml_node child = ChildElement(parent, name);
    // A file has one document element.
    if (child || !parent.parent() || !IsName(name, "-")) return child;
    child = parent.append_child(name);
    if (ApplyAndKeep(child, {}, std::nullopt)) return child;
    parent.remove_child(child);
    return pugi::xml_node();
  }));
}

int cfg_add_param_value(cfg_node* node, const char* value) {
  return cfg_set_param_value(node, value);
}

int cfg_cp_node_attr(cfg_node* destination, cfg_node* source) {
  if (!IsFirst(Node(destination))) return -1;
  for (auto each = Node(source).first_attribute(); each; each = each.next_attribute()) {
    // What XML can't hold stays behind.
    (void)cfg_cp_node_attr_spec(destination, source, each.name());
  }
  return 0;
}

int cfg_cp_node_attr_spec(cfg_node* destination, cfg_node* source, const char* name) {
  const pugi::xml_attribute attribute = Node(source).attribute(name);
  const auto value = Writable(attribute.value());
  if (!attribute || !value || !IsName(name, "-.:")) return -1;
  return ApplyAndKeep(Node(destination), name, value) ? 0 : -1;
}

int cfg_get_node_op_mode(cfg_node* node, int mode) {
  const std::string_view text = Node(node).attribute("op").value();
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : mode;
}

void cfg_get_node_pathname(cfg_node* node, cfg_node* base, char* path, int size) {
  CopyBounded(path, size, PathBelow(Node(base), Node(node)));
}

cfg_node* cfg_walk_next(cfg_node* node, cfg_node* base, int descend) {
  const pugi::xml_node top = Node(base);
  pugi::xml_node element = Node(node);
  if (descend != 0) {
    if (const pugi::xml_node child = element.find_child(IsElement)) return Opaque(child);
  }
  for (; element && element != top; element = element.parent()) {
    for (pugi::xml_node next = element.next_sibling(); next; next = next.next_sibling()) {
      if (IsElement(next)) return Opaque(next);
    }
  }
  return nullptr;
}
