// SPDX-License-Identifier: MIT
#include "config/section_list.h"

#include <algorithm>

std::vector<SectionNode> section_list;

const SectionNode* SectionList_Find(SectionType type) {
  const auto node = std::ranges::find(section_list, type, &SectionNode::type);
  return node == section_list.end() ? nullptr : &*node;
}
