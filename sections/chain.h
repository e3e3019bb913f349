// SPDX-License-Identifier: MIT
// The walk along an image's chain of sections: from address 0 by the next address of each header.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

struct ChainWalk {
  std::uint32_t address = 0;  // of the section at hand
  std::size_t position = 0;   // in the chain
  std::set<std::uint32_t> visited;
};

enum class ChainStep : std::uint8_t {
  next,  // there is a section to read
  end,   // the next address was 0
  loop,  // the walk has been at the next address before, and would never end
};

// Goes on to the section at the next address of the one at hand.
ChainStep Chain_Advance(ChainWalk& walk, std::uint32_t next_address);
