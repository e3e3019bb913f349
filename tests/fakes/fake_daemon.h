// SPDX-License-Identifier: MIT
// The daemon without its process: its start on a fitted board, and what a message may touch.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// The start-up that leads to serving: whose image it is, fill or factory reset, read-back check.
// The shell's "restore" is machine.shell's affair. Returns what the identification check said.
int StartDaemon();

// The chip's addresses; not 0: in the set.
using AddressSet = std::vector<std::uint8_t>;

// Marks the bytes that the daemon may write for a message, told from the section list as it stands:
// the fields that the message names, and the time stamp.
void MarkMessage(AddressSet& bytes, std::string_view message);

// Marks the bytes of a field or section.
void MarkBytes(AddressSet& bytes, std::uint32_t address, std::size_t size);

// The first address outside of `allowed` whose byte is not what it was; -1 when there is none.
long FirstStrayByte(const AddressSet& allowed, const std::vector<std::uint8_t>& before);
