// SPDX-License-Identifier: MIT
#include "platform/shell.h"

#include <cctype>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

int Shell_Run(const char* command) {
  // The command line comes from this program, never from a message.
  return std::system(command);  // NOLINT(cert-env33-c,concurrency-mt-unsafe)
}

bool Shell_ReadFirstWord(const char* command, std::span<char> word) {
  word[0] = '\0';
  std::FILE* output = popen(command, "r");  // NOLINT(cert-env33-c)
  if (output == nullptr) return false;
  int c = std::fgetc(output);
  while (c != EOF && std::isspace(c) != 0) c = std::fgetc(output);
  std::size_t length = 0;
  while (c != EOF && std::isspace(c) == 0 && length + 1 < word.size()) {
    word[length++] = static_cast<char>(c);
    c = std::fgetc(output);
  }
  word[length] = '\0';
  (void)pclose(output);  // the tool's status says nothing that its output does not
  return length > 0;
}
