// SPDX-License-Identifier: MIT
// Of our libcfg only, for programs that talk to a person.
#pragma once

// Why the last cfg_init has failed, such as "line 3, column 8: Start-end tags mismatch". Valid
// until the next one.
const char* Libcfg_Fault();
