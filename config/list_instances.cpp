// SPDX-License-Identifier: MIT
#include "config/list_instances.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "config/store.h"
#include "daemon/log.h"
#include "platform/file.h"

const char* template_folder = "/opt/template";

const ListKind network_storage_list = {
    .template_name = "NetworkStorage",
    .list_path = "Event.Server",
    .instance_letter = 'S',
    .sets_ns_index = true,
};
const ListKind media_list = {
    .template_name = "Media",
    .list_path = "Event.Media",
    .instance_letter = 'M',
};
const ListKind stream_profile_list = {
    .template_name = "StreamProfile",
    .list_path = "StreamProfile",
    .instance_letter = 'I',
    .index_pattern = "StreamProfile.I%d.Video.Name",
    .prints_index = true,
};
const ListKind user_list = {
    .template_name = "UserID",
    .list_path = "General.UserID",
    .instance_letter = 'U',
    .index_pattern = "General.UserID.U%d.User",
};
const ListKind scheduled_event_list = {
    .template_name = "EvtScheduled",
    .list_path = "Event.Scheduled",
    .instance_letter = 'S',
    .index_pattern = "Event.Scheduled.S%d.ServerType",
    .prints_path = true,
    .prints_index = true,
};

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
    Nv_Print("#Error: %s not supported yet\n", name);
    return loaded;
  }
  cfg_node* root = cfg_find_param_node(loaded.handle.get(), "root");
  if (root == nullptr) {
    Nv_Print("#Error: unable to find root\n");
    return loaded;
  }
  cfg_node* node = cfg_find_param_node(root, name);
  if (node == nullptr) {
    Nv_Print("#Error: unable to get template node \n");
    return loaded;
  }
  const int mode = cfg_get_node_op_mode(node, 0);
  if (mode == 1 || mode == 3) {
    loaded.node = node;
  } else {
    Nv_Print("#Error: Permission Denined \n");
  }
  return loaded;
}

PathText InstanceName(const ListKind& list, int index) {
  PathText name;
  Text_Format(name, "%s.%c%d", list.list_path, list.instance_letter, index);
  return name;
}

// Copies one element of the template to the same place below the instance.
void CopyElement(cfg_node* element, cfg_node* template_node, cfg_node* device_root,
                 const PathText& instance) {
  std::array<char, 1024> relative;
  cfg_get_node_pathname(element, template_node, relative.data(), relative.size());
  std::array<char, sizeof relative + sizeof(PathText)> path;
  Text_Format(path, "%s.%s", instance.data(), relative.data());
  cfg_node* copy = cfg_add_param_node(device_root, path.data());
  if (copy == nullptr) return;
  ValueSlot value;
  if (cfg_get_param_value(element, value.data(), static_cast<int>(value.size())) == 0) {
    (void)cfg_add_param_value(copy, value.data());  // an element without its value is still there
  }
  (void)cfg_cp_node_attr(copy, element);  // always succeeds
}

// Adds the instance with its whole content. Returns false, reported, when it could not be given its
// template's mode: nothing may be saved then.
bool AddInstance(const ListKind& list, cfg_node* device_root, int index, cfg_node* template_node) {
  const PathText instance = InstanceName(list, index);
  cfg_node* node = cfg_add_param_node(device_root, instance.data());
  if (node == nullptr) return true;
  if (cfg_cp_node_attr_spec(node, template_node, "op") != 0) {
    Nv_Print("#Error: Apply op_mode fail!!\n");
    return false;
  }
  for (cfg_node* element = cfg_walk_next(template_node, template_node, 1);
       element != nullptr && element != template_node;
       element = cfg_walk_next(element, template_node, 1)) {
    CopyElement(element, template_node, device_root, instance);
  }
  if (list.sets_ns_index) NsIndex = index;
  return true;
}

bool HasInstance(const ListKind& list, cfg_node* device_root, int index) {
  return cfg_find_param_node(device_root, InstanceName(list, index).data()) != nullptr;
}

// The list's "MaxCnt"; a greater one than 65536 is not believed. Nothing when it is missing.
std::optional<int> ReadMaxCount(cfg_node* list_node) {
  constexpr int most_instances = 65536;
  cfg_node* node = cfg_find_param_node(list_node, "MaxCnt");
  if (node == nullptr) {
    Nv_Print("#Error: find max cnt node fail!!\n");
    return std::nullopt;
  }
  ValueSlot value;
  if (cfg_get_param_value(node, value.data(), static_cast<int>(value.size())) != 0) {
    Nv_Print("#Error: get max cnt value fail!!\n");
    return std::nullopt;
  }
  return std::min(Text_ToInt(Slot_Text(value)), most_instances);
}

// The first index whose instance does not exist, or no_index when each below "MaxCnt" does; nothing
// when that is missing.
constexpr int no_index = -1;
std::optional<int> FirstFreeIndex(const ListKind& list, cfg_node* device_root,
                                  cfg_node* list_node) {
  const std::optional<int> max_count = ReadMaxCount(list_node);
  if (!max_count) return std::nullopt;
  int index = 0;
  while (index < *max_count && HasInstance(list, device_root, index)) ++index;
  return index < *max_count ? index : no_index;
}

// The index that the path asks for; nothing when it holds none.
std::optional<int> RequestedIndex(const ListKind& list, const char* path) {
  if (list.prints_path) Nv_Print("pTmp=%s\n", path);
  int index = 0;
  if (Text_ScanInts(path, list.index_pattern, &index) != 1) return std::nullopt;
  if (list.prints_index) Nv_Print("add index=%d\n", index);
  return index;
}

// Adds the instance that `path` needs. Returns whether to save the configuration, also when there
// was nothing to add; false for a template that can't be used.
bool AddMissing(const ListKind& list, cfg_node* device_root, const char* path) {
  const bool first_free = list.index_pattern == nullptr;
  std::optional<int> index = first_free ? no_index : RequestedIndex(list, path);
  if (!index) return false;
  const Template loaded = LoadTemplate(list.template_name);
  if (loaded.node == nullptr) return false;
  cfg_node* list_node = cfg_find_param_node(device_root, list.list_path);
  if (list_node == nullptr) {
    Nv_Print("#Error: %s not added yet\n", list.list_path);
    return false;
  }
  if (first_free) index = FirstFreeIndex(list, device_root, list_node);
  if (!index) return false;
  const bool all_taken = first_free && *index == no_index;
  const bool is_missing = !all_taken && !HasInstance(list, device_root, *index);
  return !is_missing || AddInstance(list, device_root, *index, loaded.node);
}

}  // namespace

cfg_handle* Nv_OpenTemplate(const char* name) {
  if (name == nullptr) return nullptr;
  PathText path;
  Text_Format(path, "%s/%s.xml", template_folder, name);
  if (!File_Exists(path.data())) {
    Nv_Print("#Error: %s not exist !!\n", path.data());
    return nullptr;
  }
  cfg_handle* handle = cfg_init(path.data());
  if (handle == nullptr) Nv_Print("#Error: unable to open template file\n");
  return handle;
}

void Nv_AddListInstance(const ListKind& list, cfg_handle* device, cfg_node* device_root,
                        const char* path) {
  if (!AddMissing(list, device_root, path)) return;
  // A save that fails leaves the instance in the tree, and the walk's own save comes later.
  (void)cfg_save_file(device, device_conf);
  if (list.sets_ns_index) Nv_Print("NsIndex=%d\n", NsIndex);
}
