// SPDX-License-Identifier: MIT
#include "config/list_instances.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <optional>

#include "config/store.h"
#include "platform/file.h"

// clang-format off
const ListKind network_storage_list = {"NetworkStorage", "Event.Server",    'S', nullptr, false, false, true};
const ListKind media_list           = {"Media",          "Event.Media",     'M', nullptr, false, false, false};
const ListKind stream_profile_list  = {"StreamProfile",  "StreamProfile",   'I', "StreamProfile.I%d.Video.Name", false, true, false};
const ListKind user_list            = {"UserID",         "General.UserID",  'U', "General.UserID.U%d.User", false, false, false};
const ListKind scheduled_event_list = {"EvtScheduled",   "Event.Scheduled", 'S', "Event.Scheduled.S%d.ServerType", true, true, false};
// clang-format on

namespace {

using ConfigHandle = std::unique_ptr<cfg_handle, CloseConfig>;

struct Template {
  ConfigHandle handle;
  cfg_node* node = nullptr;  // null: reported, not usable
};

Template LoadTemplate(const char* name) {
  Template loaded;
  loaded.handle.reset(Nv_OpenTemplate(name));
  if (!loaded.handle) {
    (void)std::printf("#Error: %s not supported yet\n", name);
    return loaded;
  }
  cfg_node* root = cfg_find_param_node(loaded.handle.get(), "root");
  if (root == nullptr) {
    (void)std::puts("#Error: unable to find root");
    return loaded;
  }
  cfg_node* node = cfg_find_param_node(root, name);
  if (node == nullptr) {
    (void)std::puts("#Error: unable to get template node ");
    return loaded;
  }
  const int mode = cfg_get_node_op_mode(node, 0);
  if (mode == 1 || mode == 3) {
    loaded.node = node;
  } else {
    (void)std::puts("#Error: Permission Denined ");
  }
  return loaded;
}

PathText InstanceName(const ListKind& list, int index) {
  PathText name;
  (void)std::snprintf(name.data(), name.size(), "%s.%c%d", list.list_path, list.instance_letter,
                      index);
  return name;
}

// Copies one element of the template to the same place below the instance.
void CopyElement(cfg_node* element, cfg_node* template_node, cfg_node* device_root,
                 const PathText& instance) {
  std::array<char, 1024> relative;
  cfg_get_node_pathname(element, template_node, relative.data(), relative.size());
  std::array<char, sizeof relative + sizeof(PathText)> path;
  (void)std::snprintf(path.data(), path.size(), "%s.%s", instance.data(), relative.data());
  cfg_node* copy = cfg_add_param_node(device_root, path.data());
  if (copy == nullptr) return;
  ValueSlot value;
  if (cfg_get_param_value(element, value.data(), static_cast<int>(value.size())) == 0) {
    (void)cfg_add_param_value(copy, value.data());
  }
  (void)cfg_cp_node_attr(copy, element);
}

enum class Added : std::uint8_t { complete, nothing, without_mode };

Added AddInstance(cfg_node* device_root, const PathText& instance, cfg_node* template_node) {
  cfg_node* node = cfg_add_param_node(device_root, instance.data());
  if (node == nullptr) return Added::nothing;
  if (cfg_cp_node_attr_spec(node, template_node, "op") != 0) {
    (void)std::puts("#Error: Apply op_mode fail!!");
    return Added::without_mode;
  }
  for (cfg_node* element = cfg_walk_next(template_node, template_node, 1);
       element != nullptr && element != template_node;
       element = cfg_walk_next(element, template_node, 1)) {
    CopyElement(element, template_node, device_root, instance);
  }
  return Added::complete;
}

// The list's "MaxCnt"; a greater one than 65536 is not believed. Nothing when it is missing.
std::optional<int> ReadMaxCount(cfg_node* list_node) {
  constexpr int most_instances = 65536;
  cfg_node* node = cfg_find_param_node(list_node, "MaxCnt");
  if (node == nullptr) {
    (void)std::puts("#Error: find max cnt node fail!!");
    return std::nullopt;
  }
  ValueSlot value;
  if (cfg_get_param_value(node, value.data(), static_cast<int>(value.size())) != 0) {
    (void)std::puts("#Error: get max cnt value fail!!");
    return std::nullopt;
  }
  return std::min(Text_ToInt(Slot_Text(value)), most_instances);
}

// The first index whose instance does not exist, or `max_count`.
int FirstFreeIndex(const ListKind& list, cfg_node* device_root, int max_count) {
  int index = 0;
  while (index < max_count &&
         cfg_find_param_node(device_root, InstanceName(list, index).data()) != nullptr) {
    ++index;
  }
  return index;
}

// The index that the path asks for; nothing when it holds none.
std::optional<int> RequestedIndex(const ListKind& list, const char* path) {
  if (list.prints_path) (void)std::printf("pTmp=%s\n", path);
  int index = 0;
  if (Text_ScanInts(path, list.index_pattern, &index) != 1) return std::nullopt;
  if (list.prints_index) (void)std::printf("add index=%d\n", index);
  return index;
}

}  // namespace

cfg_handle* Nv_OpenTemplate(const char* name) {
  if (name == nullptr) return nullptr;
  PathText path;
  (void)std::snprintf(path.data(), path.size(), "/opt/template/%s.xml", name);
  if (!File_Exists(path.data())) {
    (void)std::printf("#Error: %s not exist !!\n", path.data());
    return nullptr;
  }
  cfg_handle* handle = cfg_init(path.data());
  if (handle == nullptr) (void)std::puts("#Error: unable to open template file");
  return handle;
}

void Nv_AddListInstance(const ListKind& list, cfg_handle* device, cfg_node* device_root,
                        const char* path) {
  const bool first_free = list.index_pattern == nullptr;
  const std::optional<int> requested = first_free ? 0 : RequestedIndex(list, path);
  if (!requested) return;
  const Template loaded = LoadTemplate(list.template_name);
  if (loaded.node == nullptr) return;
  cfg_node* list_node = cfg_find_param_node(device_root, list.list_path);
  if (list_node == nullptr) {
    (void)std::printf("#Error: %s not added yet\n", list.list_path);
    return;
  }

  int index = *requested;
  bool is_free = true;
  if (first_free) {
    const std::optional<int> max_count = ReadMaxCount(list_node);
    if (!max_count) return;
    index = FirstFreeIndex(list, device_root, *max_count);
    is_free = index < *max_count;
  }
  const PathText instance = InstanceName(list, index);
  if (is_free && cfg_find_param_node(device_root, instance.data()) == nullptr) {
    const Added added = AddInstance(device_root, instance, loaded.node);
    if (added == Added::without_mode) return;
    if (added == Added::complete && list.sets_ns_index) NsIndex = index;
  }
  (void)cfg_save_file(device, device_conf);
  if (list.sets_ns_index) (void)std::printf("NsIndex=%d\n", NsIndex);
}
