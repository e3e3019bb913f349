// SPDX-License-Identifier: MIT
#include "sections/chain.h"

ChainStep Chain_Advance(ChainWalk& walk, std::uint32_t next_address) {
  walk.visited.insert(walk.address);
  walk.address = next_address;
  ++walk.position;
  if (next_address == 0) return ChainStep::end;
  return walk.visited.contains(next_address) ? ChainStep::loop : ChainStep::next;
}
