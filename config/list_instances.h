// SPDX-License-Identifier: MIT
// New instances of the configuration's lists, made from the camera's template files.
#pragma once

#include "platform/libcfg.h"

struct ListKind {
  const char* template_name;  // "<folder>/<name>.xml", and the element below its "root"
  const char* list_path;      // of the element that the instances are children of
  char instance_letter;       // the instance is <list path>.<letter><index>
  // Reads the index off the path that needs the instance; null: the first free one below "MaxCnt".
  const char* index_pattern = nullptr;
  bool prints_path = false;    // the path that needs the instance
  bool prints_index = false;   // the index that was read off it
  bool sets_ns_index = false;  // a new instance is the network storage from then on
};

extern const ListKind network_storage_list;
extern const ListKind media_list;
extern const ListKind stream_profile_list;
extern const ListKind user_list;
extern const ListKind scheduled_event_list;

// Where the templates are: "/opt/template", unless a program that is not the daemon points it
// elsewhere before anything else.
extern const char* template_folder;

// Adds the instance that `path` needs, complete with every child and attribute of its template, and
// saves the live configuration, also when there was nothing to add; not for a template that can't
// be used, reported with a line that begins with "#Error: ". The handle stays the caller's.
void Nv_AddListInstance(const ListKind& list, cfg_handle* device, cfg_node* device_root,
                        const char* path);

// Opens a template file. Returns a handle that the caller closes; or null, reported.
cfg_handle* Nv_OpenTemplate(const char* name);
