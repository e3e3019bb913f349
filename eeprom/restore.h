// SPDX-License-Identifier: MIT
// The EEPROM's values on their way into the configuration.
#pragma once

#include <functional>

#include "config/list_instances.h"
#include "param/section_map.h"
#include "param/value_slot.h"
#include "platform/libcfg.h"
#include "sections/section_record.h"

// Stored values on their way into a configuration, section by section.
struct Restore {
  cfg_node* root;  // of the configuration
  // Creates the instance of a list that `path` needs; it may be asked when there is none to create.
  std::function<void(const ListKind& list, const char* path)> add_instance;
  // Whether a stored value that differs from the current one may be put.
  std::function<bool(const SectionRecord& record, const char* path, const ValueSlot& current,
                     const ValueSlot& stored)>
      may_put;
  SectionRecord record = {};  // the section at hand, just read
  bool changed = false;       // a value was put into the configuration
};

// Puts each value of the section at hand that is not empty and differs, by the rows of the map at
// its position. Creates missing list instances when the section says that there is one.
void Restore_Section(Restore& restore, const SectionMap& map);

// What a stored value that differs is to this camera.
enum class StoredValue : std::uint8_t {
  welcome,
  lens_position,  // the lens driver's business, not the configuration's
  unsupported,    // a capture mode or resolution that the camera does not list
};
StoredValue Restore_Judge(cfg_node* root, const SectionRecord& record, const char* path,
                          const ValueSlot& stored);

// Walks the chain of sections, puts every stored value that is not empty and differs into the
// configuration, saves it once at the end when anything changed, and builds the section list. The
// walk always ends: at a next address of 0, or at an address that it has visited before. Returns 0,
// or -1 when the configuration can't be opened.
int Nv_ReadBackCheck();

// Whether a stored value may be put into the configuration. Lens positions go to the lens driver's
// file instead; a capture mode or resolution that this camera does not support is replaced in the
// EEPROM by the current value.
bool Nv_FilterRestoredValue(cfg_node* root, const SectionRecord& record, const char* path,
                            const ValueSlot& current, const ValueSlot& stored);
