// SPDX-License-Identifier: MIT
// The daemon's own start, on an image on the bus and a copy of a configuration.
#pragma once

#include "nvdump/rows.h"

// A copy of a configuration in a folder of its own, which is the camera's own to the daemon's
// functions: they read it, change it and save it there.
struct WorkingCopy {
  std::string path;

  // From the content of what people know by `name`. Throws Failure.
  WorkingCopy(const std::string& name, const std::string& content);
  ~WorkingCopy();
};

// The working copy's parameters that have a value, by path, in its order.
Json Config_Values();

// The image that the daemon would write for the working copy into a blank EEPROM.
Image Start_Fill(std::uint32_t time);

// Whether the image on the bus is of another product than the working copy, which a start of the
// daemon then resets first.
bool Start_IsForeign();

// Puts the values of the image on the bus into the working copy: an image of another product goes
// into a configuration that has just been reset, and its streams are clamped. Returns rows for
// Change_Text, with the cells of the field where there is one: what changes, in the configuration's
// order; then with "why" what stays out and what the image has no value for ("new" is null), by
// another parameter's value where there is "beside". Throws Failure.
Json Start_Restore(const Image& image, const std::string& templates);
