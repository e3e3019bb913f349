// SPDX-License-Identifier: MIT
// The pid file "/var/run/nvd.pid": the process id in decimal, without a line end.
#pragma once

// Writes the file; one that can't be opened is logged at level 3.
void Nv_WritePidFile();

void Nv_RemovePidFile();
