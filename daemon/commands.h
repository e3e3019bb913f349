// SPDX-License-Identifier: MIT
// The messages of the control socket: "key=value". A key that begins with a command's word is that
// command; any other names a configuration parameter that has changed.
#pragma once

#include <string_view>

// Carries out one message. A message without "=" is ignored.
void Nv_HandleCommand(std::string_view message);
