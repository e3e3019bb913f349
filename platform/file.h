// SPDX-License-Identifier: MIT
// Whole files: read one, replace one so that no reader and no power cut ever sees half of it.
#pragma once

#include <functional>
#include <string>
#include <string_view>

bool File_Exists(const char* path);

// Reads a whole file into `content`; of "/dev/stdin" what is still to come, whatever it is. Returns
// 0, or -1 with errno set.
int File_Read(const char* path, std::string& content);

// Makes a file's next content from the present one, which is null when there is no such file. False
// leaves the file as it is.
using FileChange = std::function<bool(const std::string* present, std::string& next)>;

// Changes a file's content atomically: a temporary file in the same folder (".<name>.new", locked
// against other savers, waited for at most 5 s) is flushed to the disk and renamed over the old
// file, then the folder is flushed. Content that the file has already is not written. A symbolic
// link is followed. The new file has the old one's mode and, where the process may give it away,
// its owner. Returns 0; or -1 with the old file untouched.
int File_Update(const char* path, const FileChange& change);

// The same for a content that depends on nothing.
int File_Replace(const char* path, std::string_view content);
