// SPDX-License-Identifier: MIT
// What the command line says, and how a command fails.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

struct Options {
  std::string command;
  std::vector<std::string> operands;  // an optional first one that is not given is empty
  std::string device;                 // where no source is named; empty: there is none
  std::string source;                 // of "get", which has no other place for it
  std::string section;                // show this one only
  std::string config;
  std::string templates = "/opt/template";
  std::string output;
  std::size_t time = SIZE_MAX;   // that an image tells; SIZE_MAX: the present one
  std::size_t size = 0;          // of the image; 0: as long as it is
  std::size_t from = 0;          // show the bytes from here on
  std::size_t count = SIZE_MAX;  // and so many of them
  bool all = false, anyway = false, force = false, hex = false, is_long = false, json = false;
  bool secrets = false, strict = false;
};

// What was asked for can't be done; the text says why.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline constexpr int exit_fine = 0;   // also: equal, found
inline constexpr int exit_finds = 1;  // differences, findings, not stored, not readable
inline constexpr int exit_fails = 2;

// The commands. Each appends its output to `out` and returns the exit status, or throws Failure.
int Info(const Options& options, std::string& out);
int List(const Options& options, std::string& out);
int Get(const Options& options, std::string& out);
int Map(const Options& options, std::string& out);
int Verify(const Options& options, std::string& out);
int Diff(const Options& options, std::string& out);
int Build(const Options& options, std::string& out);
int Extract(const Options& options, std::string& out);
int Dump(const Options& options, std::string& out);
