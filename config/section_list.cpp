// SPDX-License-Identifier: MIT
#include "config/section_list.h"

#include <utility>

#include "sections/section.h"

std::unique_ptr<SectionNode> section_list;

std::uint32_t SectionList_FieldAddress(const SectionNode& node, std::size_t row) {
  return Section_FieldAddress(node.address, FieldOffset(node.map->fields, row));
}

const SectionNode* SectionList_Find(SectionType type) {
  const SectionNode* node = section_list.get();
  while (node != nullptr && node->type != type) node = node->next.get();
  return node;
}

void SectionList_Free() {
  // One by one: the chain's length is the EEPROM's word, and a recursion that deep is a crash.
  while (section_list) section_list = std::move(section_list->next);
}
