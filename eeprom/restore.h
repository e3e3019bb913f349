// SPDX-License-Identifier: MIT
// The EEPROM's values on their way into the configuration.
#pragma once

#include "param/value_slot.h"
#include "platform/libcfg.h"
#include "sections/section_record.h"

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
