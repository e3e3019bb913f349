// SPDX-License-Identifier: MIT
// Whole files: read one, replace one so that no reader and no power cut ever sees half of it.
#pragma once

#include <string>
#include <string_view>

bool File_Exists(const char* path);

// Reads a whole file into `content`. Returns 0, or -1 with errno set.
int File_Read(const char* path, std::string& content);

// Replaces a file's content atomically: a temporary file in the same folder (".<name>.new", locked
// against other savers) is flushed to the disk and renamed over the old file, then the folder is
// flushed. A symbolic link is followed. The new
// file has the old one's mode and, where the process may give it away, its owner. Returns 0; or -1
// with the old file untouched.
int File_Replace(const char* path, std::string_view content);
