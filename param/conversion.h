// SPDX-License-Identifier: MIT
// The conversion engine: one field from the value slots of its row into its section's payload, or
// back.
#pragma once

#include <cstdint>

#include "param/rule.h"
#include "param/value_slot.h"
#include "sections/field_codec.h"
#include "sections/section_record.h"

// Both return 0 when the field was converted or deliberately left alone; or -1 when the record's
// type is not 1 to 10, with "No support section type %d\n". A field that does not lie wholly inside
// the record's payload is left alone.

// Converts the texts in `slots` into the field at `offset`.
int Param_ConfigToSection(ValueSlots& slots, const FieldKey& key, SectionRecord& record,
                          std::size_t offset, FieldFormat format);

// Converts the field at `offset` into texts. The caller hands in empty slots; one that stays empty
// means that nothing is restored for its path.
int Param_SectionToConfig(SectionRecord& record, ValueSlots& slots, const FieldKey& key,
                          std::size_t offset, FieldFormat format);

// The rule that a field of one of the types 1 to 10 follows; null when there is none.
const FieldRule* Param_FindRule(SectionType type, const FieldKey& key);
